#pragma once

#include <cstddef>

#include "Log.h"
#include "ProgressDisplay.h"

namespace frontend {

// Shows the library's log lines to a curious user, each cut to the width of the screen: only that much of a
// line is ever formatted. What is no printable ASCII shows as a question mark.
class VerboseSink final : public platform::LogSink {
 public:
  VerboseSink(std::size_t columns, TextOutput output);
  void line(const platform::LogLine& line) override;

 private:
  std::size_t columns_;
  TextOutput output_;
};

}  // namespace frontend
