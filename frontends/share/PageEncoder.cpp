#include "PageEncoder.h"

#include <algorithm>

namespace frontend::share {

PageEncoder::PageEncoder(const ScanTicket& ticket, const PictureLayout& delivered,
                         const PictureSettings& settings, int descriptor)
    : delivered_(delivered),
      picture_(ticket.picture),
      sink_(descriptor),
      writer_(makePictureWriter(ticket.format, sink_, settings)) {
  part_.reserve(delivered_.rowBytes());
  writer_->beginPage(picture_);
}

void PageEncoder::write(const std::uint8_t* bytes, std::size_t count) {
  const std::size_t rowBytes = delivered_.rowBytes();
  while (count > 0) {
    if (part_.empty() && count >= rowBytes) {
      writeRow(bytes);
      bytes += rowBytes;
      count -= rowBytes;
      continue;
    }
    const std::size_t taken = std::min(count, rowBytes - part_.size());
    part_.insert(part_.end(), bytes, bytes + taken);
    bytes += taken;
    count -= taken;
    if (part_.size() < rowBytes) return;
    writeRow(part_.data());
    part_.clear();
  }
}

void PageEncoder::writeRow(const std::uint8_t* row) {
  writer_->writeRow(row);
}

void PageEncoder::flush() {
  writer_->flush();
}

void PageEncoder::finish() {
  writer_->endPage();
  writer_->finish();
}

}  // namespace frontend::share
