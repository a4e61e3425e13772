#pragma once

#include <functional>
#include <string_view>

namespace platform {

// One line on its way to the log, not yet formatted: the sink pulls its text piece by piece and stops when it
// has enough, so that a line that nobody reads costs nothing and a huge one never stands in memory as a
// whole. Valid only during LogSink::line().
class LogLine {
 public:
  // Gets the next piece of the text; answers false when it wants no more.
  using PieceReader = std::function<bool(std::string_view piece)>;

  // Hands out the text from its start, in order, without a line end. May be called again.
  virtual void read(const PieceReader& reader) const = 0;

 protected:
  ~LogLine() = default;
};

// Where log lines go. Called on the thread that logs; must not throw and must not log.
class LogSink {
 public:
  virtual ~LogSink() = default;
  virtual void line(const LogLine& line) = 0;
};

// Makes `sink` the receiver of all lines from now on. It stays the caller's and must outlive its use. Null
// brings the default back: every line whole, with time stamp, program name and process id, to standard error.
void useLogSink(LogSink* sink);
// The sink of the last call; null while the default receives the lines.
LogSink* chosenLogSink();

// Sends one line to the sink of the moment.
void log(const LogLine& line);
// The same for a text that is there already; it must outlive the call only.
void log(std::string_view text);
// The same in the manner of printf, formatted only if the sink reads it.
void logFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace platform
