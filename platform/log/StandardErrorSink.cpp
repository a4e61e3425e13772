#include "StandardErrorSink.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string_view>

namespace platform {
namespace {

// The stream's own lock: recursive, and shared with whatever else the process prints to standard error.
class StandardErrorLock {
 public:
  StandardErrorLock() { flockfile(stderr); }
  ~StandardErrorLock() { funlockfile(stderr); }
  StandardErrorLock(const StandardErrorLock&) = delete;
  StandardErrorLock& operator=(const StandardErrorLock&) = delete;
};

// Collects text and writes it whenever it is full.
class WriteBuffer {
 public:
  void append(std::string_view text) {
    while (!text.empty()) {
      if (used_ == buffer_.size()) flush();
      const std::size_t part = std::min(text.size(), buffer_.size() - used_);
      std::memcpy(buffer_.data() + used_, text.data(), part);
      used_ += part;
      text.remove_prefix(part);
    }
  }

  void flush() {
    std::size_t done = 0;
    while (done < used_) {
      const ssize_t written = ::write(STDERR_FILENO, buffer_.data() + done, used_ - done);
      if (written < 0 && errno == EINTR) continue;
      if (written <= 0) break;
      done += static_cast<std::size_t>(written);
    }
    used_ = 0;
  }

 private:
  std::array<char, 4096> buffer_;
  std::size_t used_ = 0;
};

void appendStamp(WriteBuffer& out) {
  using std::chrono::system_clock;
  const auto now = std::chrono::floor<std::chrono::milliseconds>(system_clock::now());
  const std::time_t seconds = system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&seconds, &local);
  std::array<char, 32> date;
  out.append({date.data(), std::strftime(date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &local)});

  const auto milliseconds = static_cast<int>(now.time_since_epoch().count() % 1000);
  std::array<char, 16> number;
  std::snprintf(number.data(), number.size(), ".%03d ", milliseconds);
  out.append(number.data());
  out.append(program_invocation_short_name);
  std::snprintf(number.data(), number.size(), "[%ld] ", static_cast<long>(getpid()));
  out.append(number.data());
}

}  // namespace

void StandardErrorSink::line(const LogLine& line) {
  const int savedErrno = errno;
  const StandardErrorLock lock;
  WriteBuffer out;
  appendStamp(out);
  try {
    line.read([&out](std::string_view piece) {
      out.append(piece);
      return true;
    });
  } catch (...) {
    out.append(" (unfinished)");
  }
  out.append("\n");
  out.flush();
  errno = savedErrno;
}

}  // namespace platform
