#pragma once

#include <string_view>

namespace frontend {

// The debug log of the back end: lines "[quenvar] ..." on standard error, up to the level in the
// environment variable SANE_DEBUG_QUENVAR, and none without it. Write errors are ignored. Any thread; not
// for signal handlers.
class DebugOutput {
 public:
  enum Level : int {
    failures = 1,  // failures, and how to resolve them
    steps = 3,     // scanners found, scans started and ended
    library = 4,   // also the log of the library that drives the scanner
    calls = 5,     // also the calls of the front end
  };

  // The level in the environment; 0 if it is not a number, or if the process has more privileges than its
  // user.
  static int levelOfEnvironment();

  explicit DebugOutput(int level) : level_(level) {}

  bool shows(Level level) const { return level_ >= level; }
  void line(Level level, std::string_view text) const;

 private:
  int level_;
};

}  // namespace frontend
