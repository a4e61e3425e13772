#include "PageEncoder.h"

#include <algorithm>

namespace frontend::share {

PageEncoder::PageEncoder(const ScanTicket& ticket, const PictureLayout& delivered,
                         const PictureSettings& settings, int descriptor)
    : rowBytes_(delivered.rowBytes()),
      sink_(descriptor),
      writer_(makePictureWriter(ticket.format, sink_, settings)),
      scaler_(delivered, ticket.picture, [this](const std::uint8_t* row) { writer_->writeRow(row); }) {
  part_.reserve(rowBytes_);
  writer_->beginPage(ticket.picture);
}

void PageEncoder::write(const std::uint8_t* bytes, std::size_t count) {
  while (count > 0) {
    if (part_.empty() && count >= rowBytes_) {
      scaler_.add(bytes);
      bytes += rowBytes_;
      count -= rowBytes_;
      continue;
    }
    const std::size_t taken = std::min(count, rowBytes_ - part_.size());
    part_.insert(part_.end(), bytes, bytes + taken);
    bytes += taken;
    count -= taken;
    if (part_.size() < rowBytes_) return;
    scaler_.add(part_.data());
    part_.clear();
  }
}

void PageEncoder::flush() {
  writer_->flush();
}

void PageEncoder::finish() {
  writer_->endPage();
  writer_->finish();
}

}  // namespace frontend::share
