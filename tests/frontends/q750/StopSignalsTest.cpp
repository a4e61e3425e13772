#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>
#include <map>

#include "StopSignals.h"

namespace {

using frontend::StopSignals;

bool isReady(int descriptor) {
  pollfd one{descriptor, POLLIN, 0};
  return poll(&one, 1, 0) == 1;
}

// Begins with the handlers that a program usually finds, whatever those of the test's own caller are.
class StopSignalHandling : public testing::Test {
 protected:
  StopSignalHandling() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) before_[signal] = std::signal(signal, SIG_DFL);
  }
  ~StopSignalHandling() override {
    for (const auto& [signal, handler] : before_) std::signal(signal, handler);
  }

 private:
  std::map<int, void (*)(int)> before_;
};

TEST_F(StopSignalHandling, MakesTheDescriptorReadyForGood) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const StopSignals signals;
    EXPECT_FALSE(isReady(signals.descriptor()));
    std::raise(signal);
    EXPECT_TRUE(isReady(signals.descriptor()));
    EXPECT_TRUE(isReady(signals.descriptor()));
  }
}

TEST_F(StopSignalHandling, SurvivesMoreSignalsThanThereIsRoomFor) {
  const StopSignals signals;
  for (int i = 0; i < 100000; ++i) std::raise(SIGTERM);
  EXPECT_TRUE(isReady(signals.descriptor()));
}

TEST_F(StopSignalHandling, LeavesIgnoredSignalsIgnored) {
  std::signal(SIGHUP, SIG_IGN);
  const StopSignals signals;
  std::raise(SIGHUP);
  EXPECT_FALSE(isReady(signals.descriptor()));
}

TEST_F(StopSignalHandling, BringsTheHandlersBack) {
  { const StopSignals signals; }
  EXPECT_EQ(std::signal(SIGINT, SIG_DFL), SIG_DFL);
}

}  // namespace
