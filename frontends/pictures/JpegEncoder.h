#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "PictureLayout.h"

namespace frontend {

// What a JPEG picture contains besides its pixels, and how much of these it keeps.
struct JpegSettings {
  int quality;          // 1 to 100; from fullColorQuality on, color has the resolution of brightness
  std::string comment;  // none if empty
  std::string profile;  // ICC; none if empty
};

// From here on what is lost of fine colored lines would show more than what the quality loses.
inline constexpr int fullColorQuality = 90;

// Encodes one JPEG picture (JFIF) from its rows and passes the bytes on as they are produced, for the writers
// of JPEG and PDF. Lineart becomes gray. Owns the library's state, a buffer of 64 KiB and its copies of
// layout and output; the rows stay the caller's. Errors are reported through failure(): once there is one, or
// the output has returned false, every function returns without doing anything. One thread. The same rows
// give the same bytes every time.
class JpegEncoder {
 public:
  // Takes the next bytes of the picture, which are valid only during the call; false ends the encoder. Called
  // inside the functions below, through a C library: must not throw.
  using Output = std::function<bool(const std::uint8_t* bytes, std::size_t count)>;

  JpegEncoder(const PictureLayout& layout, const JpegSettings& settings, Output output);
  ~JpegEncoder();
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

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
