#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <map>

#include "CancelSignals.h"

namespace {

using frontend::Cancellation;
using frontend::CancelSignals;

void (*handlerOf(int signal))(int) {
  struct sigaction action {};
  sigaction(signal, nullptr, &action);
  return action.sa_handler;
}

bool isReadable(int descriptor) {
  pollfd one{descriptor, POLLIN, 0};
  return poll(&one, 1, 0) == 1;
}

// Begins with the default handlers, whatever the test has inherited.
class CancelSignalHandling : public testing::Test {
 protected:
  CancelSignalHandling() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ})
      before_[signal] = std::signal(signal, SIG_DFL);
  }
  ~CancelSignalHandling() override {
    for (const auto& [signal, handler] : before_) std::signal(signal, handler);
  }

 private:
  std::map<int, void (*)(int)> before_;
};

TEST_F(CancelSignalHandling, RequestsACancel) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Cancellation cancellation;
    const CancelSignals signals(cancellation);
    EXPECT_FALSE(cancellation.requested());
    std::raise(signal);
    EXPECT_TRUE(cancellation.requested());
  }
}

TEST_F(CancelSignalHandling, InsistsOnACancelThatIsRepeated) {
  const struct {
    int first;
    int second;
    bool insists;
  } cases[] = {{SIGINT, SIGINT, true},
               {SIGTERM, SIGTERM, true},
               {SIGHUP, SIGINT, true},
               {SIGINT, SIGHUP, false},
               {SIGHUP, SIGHUP, false}};
  for (const auto& one : cases) {
    Cancellation cancellation;
    const CancelSignals signals(cancellation);
    std::raise(one.first);
    EXPECT_FALSE(cancellation.insisted());
    std::raise(one.second);
    EXPECT_EQ(cancellation.insisted(), one.insists) << one.first << ", " << one.second;
  }
}

TEST_F(CancelSignalHandling, MakesTheDescriptorReadyForGood) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Cancellation cancellation;
    const CancelSignals signals(cancellation);
    EXPECT_FALSE(isReadable(signals.descriptor()));
    std::raise(signal);
    EXPECT_TRUE(isReadable(signals.descriptor()));
    EXPECT_TRUE(isReadable(signals.descriptor()));
  }
}

TEST_F(CancelSignalHandling, SurvivesMoreSignalsThanAPipeHasRoomFor) {
  Cancellation cancellation;
  const CancelSignals signals(cancellation);
  for (int i = 0; i < 100000; ++i) std::raise(SIGTERM);
  EXPECT_TRUE(isReadable(signals.descriptor()));
}

TEST_F(CancelSignalHandling, MakesAClosedPipeAPlainFailure) {
  Cancellation cancellation;
  const CancelSignals signals(cancellation);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  close(ends[1]);
  EXPECT_FALSE(cancellation.requested());
}

TEST_F(CancelSignalHandling, LeavesIgnoredSignalsIgnored) {
  std::signal(SIGHUP, SIG_IGN);
  {
    Cancellation cancellation;
    const CancelSignals signals(cancellation);
    std::raise(SIGHUP);
    EXPECT_FALSE(cancellation.requested());
    EXPECT_FALSE(isReadable(signals.descriptor()));
  }
  EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
}

TEST_F(CancelSignalHandling, BringsTheHandlersBack) {
  {
    Cancellation cancellation;
    const CancelSignals signals(cancellation);
    EXPECT_NE(handlerOf(SIGINT), SIG_DFL);
  }
  EXPECT_EQ(handlerOf(SIGINT), SIG_DFL);
  EXPECT_EQ(handlerOf(SIGPIPE), SIG_DFL);
  EXPECT_EQ(handlerOf(SIGXFSZ), SIG_DFL);
}

}  // namespace
