#pragma once

#include "Log.h"

namespace platform {

// Writes every line whole to standard error, as "2026-11-21 09:00:00.123 prog[4711] text": local time,
// program name, process id. A line of up to a few kilobytes is one write; a longer one passes through a
// buffer of that size, while the lines of other threads wait. Any thread; allocates nothing and preserves
// errno. What cannot be written is lost silently.
class StandardErrorSink final : public LogSink {
 public:
  void line(const LogLine& line) override;
};

}  // namespace platform
