#pragma once

#include "MemoryFile.h"
#include "PictureWriter.h"

// A document with one more page, of a pixel, than the existing one.
class AppendedPage {
 public:
  AppendedPage(int existing, bool pdf) {
    frontend::ByteSink sink(file_.descriptor());
    frontend::PictureSettings settings;
    settings.multiPage = true;
    settings.appendTo = existing;
    const auto writer = frontend::makePictureWriter(
        pdf ? frontend::PictureFormat::pdf : frontend::PictureFormat::tiff, sink, settings);
    const std::uint8_t row = 0;
    writer->beginPage({1, 1, 1, 1, 75});
    writer->writeRow(&row);
    writer->endPage();
    writer->finish();
    written_ = sink.good();
  }
  bool written() const { return written_; }
  int descriptor() const { return file_.descriptor(); }

 private:
  MemoryFile file_;
  bool written_ = false;
};
