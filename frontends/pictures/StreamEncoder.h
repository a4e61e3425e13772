#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace frontend {

// Encodes one picture from its rows and passes the bytes on as they are produced. The rows stay the caller's.
// Errors are reported through failure(): once there is one, or the output has returned false, every function
// returns without doing anything. Blocks as long as the output does. One thread. The same rows give the same
// bytes every time.
class StreamEncoder {
 public:
  // Takes the next bytes of the picture, which are valid only during the call; false ends the encoder. Called
  // inside the functions below and the constructor, through a C library: must not throw.
  using Output = std::function<bool(const std::uint8_t* bytes, std::size_t count)>;

  virtual ~StreamEncoder() = default;

  // Encodes layout.rowBytes() bytes, which are not used after the call.
  virtual void writeRow(const std::uint8_t* row) = 0;
  // Passes on what is encoded, as far as that changes none of the bytes of the picture.
  virtual void flush() {}
  // Completes the picture after its last row.
  virtual void finish() = 0;
  // Why the library gave up, as a clause; empty where it did not, or where only the output ended the encoder.
  virtual const std::string& failure() const = 0;
};

}  // namespace frontend
