#include "ConnectionTable.h"

#include <algorithm>
#include <utility>

namespace frontend::share {

bool ConnectionTable::admits(const std::string& address) const {
  if (entries_.size() >= httplimits::connections) return false;
  const auto same = std::count_if(entries_.begin(), entries_.end(),
                                  [&](const auto& entry) { return entry.second.address == address; });
  return static_cast<std::size_t>(same) < httplimits::connectionsPerAddress;
}

void ConnectionTable::open(int connection, std::string address, TimePoint now) {
  entries_[connection] = {std::move(address), now + httplimits::arrival};
}

void ConnectionTable::close(int connection) {
  entries_.erase(connection);
}

void ConnectionTable::requestArrived(int connection) {
  if (const auto found = entries_.find(connection); found != entries_.end()) found->second.deadline.reset();
}

void ConnectionTable::responseSent(int connection, TimePoint now) {
  if (const auto found = entries_.find(connection); found != entries_.end())
    found->second.deadline = now + httplimits::silence + httplimits::arrival;
}

std::vector<int> ConnectionTable::takeOverdue(TimePoint now) {
  std::vector<int> overdue;
  for (auto& [connection, entry] : entries_) {
    if (!entry.deadline || now < *entry.deadline) continue;
    entry.deadline.reset();
    overdue.push_back(connection);
  }
  return overdue;
}

std::optional<ConnectionTable::TimePoint> ConnectionTable::nextDeadline() const {
  std::optional<TimePoint> next;
  for (const auto& [connection, entry] : entries_) {
    if (entry.deadline && (!next || *entry.deadline < *next)) next = entry.deadline;
  }
  return next;
}

}  // namespace frontend::share
