#include "Log.h"

#include <atomic>
#include <cstdarg>
#include <new>

#include "FormattedLine.h"
#include "StandardErrorSink.h"

namespace platform {
namespace {

std::atomic<LogSink*> chosenSink{nullptr};

LogSink& currentSink() {
  // Neither allocated nor destroyed: lines may be logged after memory has run out, and until the very end of
  // the process.
  alignas(StandardErrorSink) static unsigned char memory[sizeof(StandardErrorSink)];
  static StandardErrorSink& standardError = *new (memory) StandardErrorSink;
  LogSink* sink = chosenSink.load(std::memory_order_acquire);
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
  chosenSink.store(sink, std::memory_order_release);
}

LogSink* chosenLogSink() {
  return chosenSink.load(std::memory_order_acquire);
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
