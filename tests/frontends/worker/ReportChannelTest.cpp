#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <new>
#include <optional>
#include <string>

#include "FailingAllocation.h"
#include "OwnedDescriptor.h"
#include "ReportChannel.h"

namespace {

using namespace frontend;

class Reports : public testing::Test {
 protected:
  Reports() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
    frontEnd = platform::OwnedDescriptor(ends[0]);
    worker = platform::OwnedDescriptor(ends[1]);
    reports.emplace(worker.get());
  }
  // The next message; empty where there is none.
  std::string heard() const {
    std::array<char, 1000> message;
    const ssize_t count = recv(frontEnd.get(), message.data(), message.size(), 0);
    return count > 0 ? std::string(message.data(), static_cast<std::size_t>(count)) : "";
  }

  platform::OwnedDescriptor frontEnd;
  platform::OwnedDescriptor worker;
  std::optional<ReportChannel> reports;
};

TEST_F(Reports, EndWithTheFirstOutcome) {
  reports->send(outcome::cancelled());
  reports->send(outcome::good());
  reports->send(PictureLayout{4, 3, 1, 8, 75});
  reports->sendHeartbeat();
  EXPECT_EQ(heard(), outcomeMessage(outcome::cancelled()));
  EXPECT_EQ(heard(), "");
}

TEST_F(Reports, AnOutcomeWithoutMemoryDoesNotCount) {
  const ScanOutcome cancelled = outcome::cancelled();
  {
    const FailingAllocation first(1);
    EXPECT_THROW(reports->send(cancelled), std::bad_alloc);
  }
  reports->send(outcome::noMemory());
  EXPECT_EQ(heard(), outcomeMessage(outcome::noMemory()));
}

TEST_F(Reports, HeartbeatsTakeNoMemory) {
  {
    const FailingAllocation first(1);
    reports->sendHeartbeat();
    EXPECT_FALSE(first.happened());
  }
  EXPECT_EQ(heard(), heartbeatMessage);
}

}  // namespace
