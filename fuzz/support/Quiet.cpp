// Part of every target: its reader may print and log as much as it likes, at the cost of
// formatting only. Reports of the sanitizers and of the fuzzer still appear, because they are
// written to the descriptor itself.
#include <cstdio>
#include <string_view>

#include "Log.h"

namespace {

// Reads each line to its end: lines that quote what was received are formatted too.
class ReadingSink final : public platform::LogSink {
  void line(const platform::LogLine& line) override {
    line.read([](std::string_view) { return true; });
  }
};

ReadingSink sink;

// The stream's own buffer would be allocated at its first use, in the middle of an input: LeakSweep would
// free it, and the stream go on writing into it.
char buffer[4096];

// Runs before main(), so that no target has to call it.
[[maybe_unused]] const bool quiet = [] {
  std::FILE* const nowhere = std::fopen("/dev/null", "w");
  if (nowhere == nullptr || std::setvbuf(nowhere, buffer, _IOFBF, sizeof buffer) != 0) return false;
  stdout = nowhere;  // the GNU C library's streams are variables; buffered, unlike standard error itself
  stderr = nowhere;
  platform::useLogSink(&sink);
  return true;
}();

}  // namespace
