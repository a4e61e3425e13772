#pragma once

#include <functional>
#include <string_view>

namespace platform {

// One line on its way to the log, not yet formatted: the sink pulls its text piece by piece and stops when it
// has enough, so that an unread line costs nothing and a huge one is never in memory as a whole. Valid only
// during LogSink::line().
class LogLine {
 public:
  // Receives the next piece of the text, valid during the call; returns false when it wants no more.
  using PieceReader = std::function<bool(std::string_view piece)>;

  // Calls the reader with the text from its start, in order, without a line end. May be called again. Throws
  // what the reader throws.
  virtual void read(const PieceReader& reader) const = 0;

 protected:
  ~LogLine() = default;
};

// Where log lines go.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // Takes one line. Called on the thread that logs, on several threads at once if they log at once; must not
  // throw and must not log. May block for as long as writing takes.
  virtual void line(const LogLine& line) = 0;
};

// Makes `sink` the receiver of all lines from now on. It stays the caller's and must outlive its use. Null
// restores the default: StandardErrorSink. A process-wide setting: LibraryEnvironment changes it for the scan
// worker, and tests do. Any thread; lines of other threads may still reach the sink before.
void useLogSink(LogSink* sink);
// The sink of the last call; null while the default receives the lines.
LogSink* chosenLogSink();

// Sends one line to the current sink. This and the two below may be called on any thread and do not throw.
void log(const LogLine& line);
// The same for a text that exists already, which is read during the call only.
void log(std::string_view text);
// The same with a format as for printf, formatted only as far as the sink reads it.
void logFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace platform
