#include "PictureForwarder.h"

#include <algorithm>

namespace frontend {

std::optional<ScanOutcome> PictureForwarder::begins(const PictureHeader& header) {
  const PictureLayout expected = expectedLayout(request_);
  PictureLayout sent = expected;
  sent.width = header.width();
  sent.height = header.height();
  sent.channels = header.bytesPerPixel();
  // Front ends have announced this layout already: SANE's parameters and a file's header precede the first
  // row.
  if (sent != expected) return outcome::otherPicture(sent, expected);
  if (request_.threshold) lineart_.emplace(sent.width, *request_.threshold);
  if (!request_.tone.isNeutral()) tone_ = toneTable(request_.tone);
  reports_.send(sent);
  return std::nullopt;
}

bool PictureForwarder::raster(const std::uint8_t* bytes, std::size_t count) {
  if (!lineart_ && !tone_) return pipe_.write(bytes, count);
  changed_.clear();
  if (lineart_) lineart_->pack(bytes, count, changed_);
  if (tone_) {
    changed_.resize(count);
    std::transform(bytes, bytes + count, changed_.begin(),
                   [this](std::uint8_t value) { return (*tone_)[value]; });
  }
  return pipe_.write(changed_.data(), changed_.size());
}

void PictureForwarder::isWhole() {
  reports_.send(outcome::good());
  pipe_.close();
}

}  // namespace frontend
