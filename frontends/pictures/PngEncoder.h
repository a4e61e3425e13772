#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "PictureLayout.h"

namespace frontend {

// Encodes one PNG picture from its rows and passes the bytes on as they are produced, for the writers of PNG
// and PDF. Owns the library's state and a copy of the previous row; the rows stay the caller's. Errors are
// reported through failure(): once there is one, or the output has returned false, every function returns
// without doing anything. One thread. The same rows give the same bytes every time.
class PngEncoder {
 public:
  // Takes the next bytes of the picture, which are valid only during the call; false ends the encoder. Called
  // inside the functions below, through a C library: must not throw.
  using Output = std::function<bool(const std::uint8_t* bytes, std::size_t count)>;

  // `software` is the program that the file names as its origin.
  PngEncoder(const PictureLayout& layout, const std::string& software, Output output);
  ~PngEncoder();
  PngEncoder(const PngEncoder&) = delete;
  PngEncoder& operator=(const PngEncoder&) = delete;

  // Encodes layout.rowBytes() bytes, which are not used after the call.
  void writeRow(const std::uint8_t* row);
  // Completes the picture after its last row.
  void finish();
  // Why the library gave up, as a clause; empty where it did not, or where only the output ended the encoder.
  const std::string& failure() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace frontend
