#include "PictureProgress.h"

#include <algorithm>
#include <utility>

namespace frontend {

PictureProgress::Taken PictureProgress::take(const std::uint8_t* bytes, std::size_t count) {
  const bool begun = header_.state() == PictureHeader::State::complete;
  const std::size_t headerPart = header_.feed(bytes, count);
  if (header_.state() == PictureHeader::State::wrong) return Taken::unreadable;
  if (header_.state() == PictureHeader::State::incomplete) return Taken::wanted;
  if (!begun && listener_ != nullptr) refusal_ = listener_->begins(header_);
  if (refusal_) return Taken::refused;
  return takeRaster(bytes + headerPart, count - headerPart);
}

PictureProgress::Taken PictureProgress::takeRaster(const std::uint8_t* bytes, std::size_t count) {
  const std::uint64_t missing = header_.rasterBytes() - std::min(header_.rasterBytes(), arrived_);
  const auto rows = static_cast<std::size_t>(std::min<std::uint64_t>(count, missing));
  arrived_ += count;
  if (listener_ == nullptr || rows == 0) return Taken::wanted;
  return listener_->raster(bytes, rows) ? Taken::wanted : Taken::unwanted;
}

bool PictureProgress::isWhole() const {
  return header_.state() == PictureHeader::State::complete && inWholePackets_ >= header_.rasterBytes();
}

void PictureProgress::reportWhole() {
  if (listener_ == nullptr || !isWhole() || std::exchange(reported_, true)) return;
  listener_->isWhole();
}

// A picture whose every row arrived, but not the end of its packet, lacks its last row: the library never
// got that packet.
std::uint64_t PictureProgress::rows() const {
  return std::min<std::uint64_t>(arrived_ / header_.rowBytes(), header_.height() - 1);
}

ScanOutcome PictureProgress::incomplete() const {
  if (header_.state() != PictureHeader::State::complete) return outcome::noPicture();
  return outcome::incompletePicture(rows(), header_.height());
}

ScanOutcome PictureProgress::silent(std::uint64_t milliseconds) const {
  if (header_.state() != PictureHeader::State::complete || rows() == 0) return outcome::silent(milliseconds);
  return outcome::stopped(rows(), header_.height(), milliseconds);
}

}  // namespace frontend
