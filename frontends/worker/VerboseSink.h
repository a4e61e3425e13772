#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

#include "Log.h"

namespace frontend {

// Shows the library's log lines to a curious user, each cut to the width of the screen: only that much of a
// line is ever formatted. What is no printable ASCII shows as a question mark.
class VerboseSink final : public platform::LogSink {
 public:
  using Output = std::function<void(std::string_view text)>;

  VerboseSink(std::size_t columns, Output output);
  void line(const platform::LogLine& line) override;

 private:
  std::size_t columns_;
  Output output_;
};

}  // namespace frontend
