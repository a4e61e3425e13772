#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ShareTimes.h"

namespace frontend::share {

// Limits for one client, and for all of them together.
namespace httplimits {

inline constexpr std::size_t connections = 64;
inline constexpr std::size_t connectionsPerAddress = 16;
inline constexpr std::size_t headerBytes = 8 * 1024;
inline constexpr std::size_t bodyBytes = 64 * 1024;
// For a complete request to arrive, however slowly its bytes are sent.
inline constexpr std::chrono::milliseconds arrival = std::chrono::seconds(10);
// Without progress, of an idle connection or one whose client does not read.
inline constexpr std::chrono::milliseconds silence = std::chrono::seconds(60);

}  // namespace httplimits

// The open connections of a server, and when each has to have sent its next request. Stores socket numbers
// and does no I/O on them; callers pass the time. Not synchronised.
class ConnectionTable {
 public:
  using TimePoint = Clock::time_point;

  // Whether one more from this address is within the limits.
  bool admits(const std::string& address) const;
  void open(int connection, std::string address, TimePoint now);
  void close(int connection);
  // A complete request has arrived: no deadline applies until its response is sent.
  void requestArrived(int connection);
  // The next request may begin late, but must then arrive in time.
  void responseSent(int connection, TimePoint now);

  // The connections whose request is overdue. Each is reported once.
  std::vector<int> takeOverdue(TimePoint now);
  // When the next one will be overdue.
  std::optional<TimePoint> nextDeadline() const;
  std::size_t size() const { return entries_.size(); }

 private:
  struct Entry {
    std::string address;
    std::optional<TimePoint> deadline;
  };
  std::map<int, Entry> entries_;
};

}  // namespace frontend::share
