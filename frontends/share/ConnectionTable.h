#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "ShareTimes.h"

namespace frontend::share {

// How much one client, and all of them together, may take.
namespace httplimits {

inline constexpr std::size_t connections = 64;
inline constexpr std::size_t connectionsPerAddress = 16;
inline constexpr std::size_t headerBytes = 8 * 1024;
inline constexpr std::size_t bodyBytes = 64 * 1024;
// For a request to arrive as a whole, however slowly its bytes drip.
inline constexpr std::chrono::milliseconds arrival = std::chrono::seconds(10);
// Without progress, of an idle connection or one whose client does not read.
inline constexpr std::chrono::milliseconds silence = std::chrono::seconds(60);

}  // namespace httplimits

// The open connections of a server, and when each has to have sent its next request. Keeps the numbers of
// sockets and does no I/O with them; its callers give it the time. Not synchronised.
class ConnectionTable {
 public:
  using TimePoint = Clock::time_point;

  // Whether one more from this address is within the limits.
  bool admits(const std::string& address) const;
  void open(int connection, std::string address, TimePoint now);
  void close(int connection);
  // A whole request has arrived: no hurry until its response is sent.
  void requestArrived(int connection);
  // The next request may let itself be awaited, but not drip in.
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
