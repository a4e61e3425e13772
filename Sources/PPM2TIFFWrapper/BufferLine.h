#pragma once

#include "Data.h"
#include "Log.h"

// The log line that holds a whole data buffer in the format of the platform: "Buffer: <01020304 0506>",
// "Buffer: (null)" for none. Formatted piece by piece while it is read, so that it needs no memory
// proportional to the buffer, and costs nothing if it is not read. Borrows the buffer.
class BufferLine final : public platform::LogLine {
 public:
  explicit BufferLine(const platform::Data* data) : data_(data) {}

  // Passes the line to the reader in pieces of at most a few kilobytes, until the reader returns false.
  void read(const PieceReader& reader) const override;

 private:
  const platform::Data* data_;
};
