#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "PictureLayout.h"

namespace frontend {

// Compresses lineart rows to the bits of ITU-T T.6 (CCITT Group 4), without any file around them, for PDF.
// The bits are made by the TIFF library, whose file stays in memory and is dropped. Holds the compressed
// picture, and up to the size of the uncompressed one in the library. Functions throw std::runtime_error,
// whose text is a clause, where the library gives up, and std::bad_alloc; after that the encoder may only be
// destroyed. One thread.
class Group4Encoder {
 public:
  // A layout of one bit per pixel.
  explicit Group4Encoder(const PictureLayout& layout);
  ~Group4Encoder();
  Group4Encoder(const Group4Encoder&) = delete;
  Group4Encoder& operator=(const Group4Encoder&) = delete;

  // Encodes layout.rowBytes() bytes, in which 1 is black. They are not used after the call.
  void writeRow(const std::uint8_t* row);
  // Returns the bits after the last row. At most once.
  std::string finish();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace frontend
