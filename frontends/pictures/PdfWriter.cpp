#include <exception>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "PdfDocument.h"
#include "PdfPicture.h"
#include "PictureWriter.h"

namespace frontend {
namespace {

class PdfWriter final : public PictureWriter {
 public:
  PdfWriter(ByteSink& sink, const PictureSettings& settings) : sink_(sink), settings_(settings) {}

  void beginPage(const PictureLayout& layout) override {
    guarded([&] { encoder_ = makePdfPictureEncoder(layout, settings_); });
  }
  void writeRow(const std::uint8_t* row) override {
    guarded([&] { encoder_->writeRow(row); });
  }
  void endPage() override {
    guarded([&] {
      pages_.push_back(encoder_->finish());
      aside_.reset();
    });
    encoder_.reset();
  }
  void abandonPage() override {
    encoder_.reset();
    if (aside_) pages_.push_back(*std::exchange(aside_, std::nullopt));
  }
  void setPageAside() override {
    aside_ = std::move(pages_.back());
    pages_.pop_back();
  }
  std::uint32_t shrink(Shortage shortage) override {
    const std::size_t left = shortage == Shortage::memory ? pages_.size() - 1 : fittingOnDisk();
    while (pages_.size() > left) pages_.pop_back();
    if (sink_.truncate(0)) sink_.seek(0);
    return static_cast<std::uint32_t>(left);
  }
  // Only now, since the cross-reference table of a PDF needs the length of every page.
  void finish() override {
    guarded([&] { writePdfDocument(sink_, pages_, settings_); });
  }

 private:
  // What the disk took is an upper bound for the pages that it has room for.
  std::size_t fittingOnDisk() const {
    const std::uint64_t room = sink_.size();
    std::uint64_t needed = 0;
    std::size_t fitting = 0;
    while (fitting + 1 < pages_.size() && (needed += pages_[fitting].bytes.size()) <= room) ++fitting;
    return fitting;
  }
  template <typename Work>
  void guarded(const Work& work) {
    if (!sink_.good()) return;
    try {
      work();
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& error) {
      sink_.fail(error.what());
    }
  }

  ByteSink& sink_;
  PictureSettings settings_;
  std::vector<PdfPicture> pages_;  // the complete ones
  std::optional<PdfPicture> aside_;
  std::unique_ptr<PdfPictureEncoder> encoder_;  // of the current page
};

}  // namespace

std::unique_ptr<PictureWriter> makePdfWriter(ByteSink& sink, const PictureSettings& settings) {
  return std::make_unique<PdfWriter>(sink, settings);
}

}  // namespace frontend
