#include "PictureForwarder.h"

namespace frontend {

std::optional<ScanOutcome> PictureForwarder::begins(const PictureHeader& header) {
  const PictureLayout expected = expectedLayout(request_);
  PictureLayout sent = expected;
  sent.width = header.width();
  sent.height = header.height();
  sent.channels = header.bytesPerPixel();
  // Front ends have announced this layout: SANE's parameters and a file's header come before the first row.
  if (sent != expected) return outcome::otherPicture(sent, expected);
  if (request_.threshold) lineart_.emplace(sent.width, *request_.threshold);
  reports_.send(sent);
  return std::nullopt;
}

bool PictureForwarder::raster(const std::uint8_t* bytes, std::size_t count) {
  if (!lineart_) return pipe_.write(bytes, count);
  packed_.clear();
  lineart_->pack(bytes, count, packed_);
  return pipe_.write(packed_.data(), packed_.size());
}

void PictureForwarder::isWhole() {
  reports_.send(outcome::good());
  pipe_.close();
}

}  // namespace frontend
