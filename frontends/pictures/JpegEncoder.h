#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "PictureLayout.h"

namespace frontend {

// Makes a JPEG (JFIF) picture of rows that come one after another. Rows of one bit become grey. Keeps a few
// rows. The same rows give the same bytes every time.
class JpegEncoder {
 public:
  // Takes the bytes of the picture as they come about; false ends the encoder. Must not throw.
  using Output = std::function<bool(const std::uint8_t* bytes, std::size_t count)>;

  // `quality` is 1 to 100. The comment may be empty.
  JpegEncoder(const PictureLayout& layout, int quality, const std::string& comment, Output output);
  ~JpegEncoder();
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  void writeRow(const std::uint8_t* row);
  // After the last row.
  void finish();
  // Why it ended early, in words; empty where it did not, or only the output did.
  const std::string& failure() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace frontend
