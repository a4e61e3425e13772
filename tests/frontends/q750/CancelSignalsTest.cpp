#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <map>

#include "CancelSignals.h"

namespace {

using frontend::CancelFlag;
using frontend::CancelSignals;

void (*handlerOf(int signal))(int) {
  struct sigaction action {};
  sigaction(signal, nullptr, &action);
  return action.sa_handler;
}

// Begins with the handlers that a program usually finds, whatever those of the test's own caller are.
class CancelSignalHandling : public testing::Test {
 protected:
  CancelSignalHandling() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
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
    CancelFlag cancel;
    const CancelSignals signals(cancel);
    EXPECT_FALSE(cancel.requested());
    std::raise(signal);
    EXPECT_TRUE(cancel.requested());
  }
}

TEST_F(CancelSignalHandling, MakesAClosedPipeAPlainFailure) {
  CancelFlag cancel;
  const CancelSignals signals(cancel);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  EXPECT_EQ(write(ends[1], "x", 1), -1);
  close(ends[1]);
  EXPECT_FALSE(cancel.requested());
}

TEST_F(CancelSignalHandling, LeavesIgnoredSignalsIgnored) {
  std::signal(SIGHUP, SIG_IGN);
  {
    CancelFlag cancel;
    const CancelSignals signals(cancel);
    std::raise(SIGHUP);
    EXPECT_FALSE(cancel.requested());
  }
  EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN);
}

TEST_F(CancelSignalHandling, BringsTheHandlersBack) {
  {
    CancelFlag cancel;
    const CancelSignals signals(cancel);
    EXPECT_NE(handlerOf(SIGINT), SIG_DFL);
  }
  EXPECT_EQ(handlerOf(SIGINT), SIG_DFL);
  EXPECT_EQ(handlerOf(SIGPIPE), SIG_DFL);
}

}  // namespace
