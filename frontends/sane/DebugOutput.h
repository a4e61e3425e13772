#pragma once

#include <string_view>

namespace frontend {

// What the back end tells whoever looks for a fault: lines "[quenvar] ..." on standard error, as many as the
// environment variable SANE_DEBUG_QUENVAR asks for, and none without it. Any thread; not for signal handlers.
class DebugOutput {
 public:
  enum Level : int {
    failures = 1,  // what went wrong, with what to do about it
    steps = 3,     // what happens: what was found, opened, scanned
    library = 4,   // and the log of the library that drives the scanner
    calls = 5,     // and what the front end asks for
  };

  // The level that the environment names; 0 where it names no number.
  static int levelOfEnvironment();

  explicit DebugOutput(int level) : level_(level) {}

  bool shows(Level level) const { return level_ >= level; }
  void line(Level level, std::string_view text) const;

 private:
  int level_;
};

}  // namespace frontend
