#pragma once

#include <memory>
#include <utility>

#include "PictureWriter.h"
#include "StreamEncoder.h"

namespace frontend {

// A writer of one picture whose encoder passes its bytes straight on to the sink: what such formats share. A
// format overrides encoderFor() to choose how its pictures are encoded.
class StreamedWriter : public PictureWriter {
 public:
  explicit StreamedWriter(ByteSink& sink) : sink_(sink) {}

  void beginPage(const PictureLayout& layout) final {
    encoder_ = encoderFor(
        layout, [this](const std::uint8_t* bytes, std::size_t count) { return sink_.write(bytes, count); });
    reportFailure();
  }
  void writeRow(const std::uint8_t* row) final {
    encoder_->writeRow(row);
    reportFailure();
  }
  void flush() final {
    encoder_->flush();
    reportFailure();
  }
  void endPage() final {
    encoder_->finish();
    reportFailure();
  }
  void finish() final {}

 private:
  // Called once for each page, on the thread of beginPage(). Throws std::bad_alloc alone.
  virtual std::unique_ptr<StreamEncoder> encoderFor(const PictureLayout& layout,
                                                    StreamEncoder::Output output) = 0;

  void reportFailure() {
    if (!encoder_->failure().empty()) sink_.fail(encoder_->failure().c_str());
  }

  ByteSink& sink_;
  std::unique_ptr<StreamEncoder> encoder_;
};

}  // namespace frontend
