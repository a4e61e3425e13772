#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "Log.h"

namespace frontend {

// Prints the library's log lines for a user who asked for them, each cut to the width of the terminal: only
// that much of a line is ever formatted, while a whole one may hold every byte of the picture. What is not
// printable ASCII is replaced by a question mark, since a terminal acts on control characters. Runs on the
// thread that logs.
class VerboseSink final : public platform::LogSink {
 public:
  using Output = std::function<void(std::string_view text)>;

  // Lines of at most `columns` characters, 20 at least, each passed to `output` with its line feed.
  VerboseSink(std::size_t columns, Output output);
  // Prints the beginning of one line; blocks as long as the output does.
  void line(const platform::LogLine& line) override;

 private:
  std::size_t columns_;
  Output output_;
};

}  // namespace frontend
