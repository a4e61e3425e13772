#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "PictureLayout.h"
#include "StreamEncoder.h"

namespace frontend {

// What a JPEG picture contains besides its pixels, and how much of these it keeps.
struct JpegSettings {
  int quality;          // 1 to 100; from fullColorQuality on, color has the resolution of brightness
  std::string comment;  // none if empty
  std::string profile;  // ICC; none if empty
};

// From this quality on, halving the resolution of color would be more visible, in fine colored lines, than
// the compression.
inline constexpr int fullColorQuality = 90;

// Encodes one JPEG picture (JFIF), for the writers of JPEG and PDF. Lineart becomes gray. Owns the library's
// state, a buffer of 64 KiB and its copies of layout and output.
class JpegEncoder final : public StreamEncoder {
 public:
  JpegEncoder(const PictureLayout& layout, const JpegSettings& settings, Output output);
  ~JpegEncoder() override;
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  void writeRow(const std::uint8_t* row) override;
  void flush() override;
  void finish() override;
  const std::string& failure() const override;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace frontend
