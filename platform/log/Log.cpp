#include "Log.h"

#include <atomic>
#include <cstdarg>

#include "FormattedLine.h"
#include "StandardErrorSink.h"

namespace platform {
namespace {

std::atomic<LogSink*> sinkOfTheMoment{nullptr};

LogSink& currentSink() {
  // Never destroyed: lines may come until the very end of the process.
  static StandardErrorSink& standardError = *new StandardErrorSink;
  LogSink* sink = sinkOfTheMoment.load(std::memory_order_acquire);
  return sink == nullptr ? standardError : *sink;
}

class TextLine final : public LogLine {
 public:
  explicit TextLine(std::string_view text) : text_(text) {}
  void read(const PieceReader& reader) const override {
    if (!text_.empty()) reader(text_);
  }

 private:
  std::string_view text_;
};

}  // namespace

void useLogSink(LogSink* sink) {
  sinkOfTheMoment.store(sink, std::memory_order_release);
}

LogSink* chosenLogSink() {
  return sinkOfTheMoment.load(std::memory_order_acquire);
}

void log(const LogLine& line) {
  currentSink().line(line);
}

void log(std::string_view text) {
  log(TextLine(text));
}

void logFormat(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  log(FormattedLine(format, arguments));
  va_end(arguments);
}

}  // namespace platform
