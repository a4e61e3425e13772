#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "CancelSignals.h"
#include "PageAnswer.h"

namespace {

using namespace frontend;
using enum PageAnswer;

// A user's keyboard.
class Answers : public testing::Test {
 protected:
  Answers() { EXPECT_EQ(pipe(ends_), 0); }
  ~Answers() override {
    close(ends_[0]);
    hangUp();
    std::signal(SIGINT, before_);
  }
  void type(const std::string& text) {
    ASSERT_EQ(write(ends_[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  void hangUp() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }
  int cancelled() const { return signals_.descriptor(); }
  PageAnswer answer() { return readPageAnswer(ends_[0], cancelled()); }

 private:
  // The process that runs the test may ignore the signal, which would be inherited.
  void (*before_)(int) = std::signal(SIGINT, SIG_DFL);
  Cancellation cancellation_;
  const CancelSignals signals_{cancellation_};
  int ends_[2] = {-1, -1};
};

TEST_F(Answers, ScanOrFinishLineByLine) {
  type("\nq\nyes\n Q\nQuit\nr\nRedo\n");
  std::vector<PageAnswer> answers;
  for (int i = 0; i < 7; ++i) answers.push_back(answer());
  EXPECT_EQ(answers, (std::vector{scan, finish, scan, scan, finish, scanAgain, scanAgain}));
}

TEST_F(Answers, FinishWhereTheyEnd) {
  type("\n");
  hangUp();
  EXPECT_EQ(answer(), scan);
  EXPECT_EQ(answer(), finish);
  EXPECT_EQ(readPageAnswer(100000, cancelled()), finish) << "nothing is open there";
}

TEST_F(Answers, FinishWhereTheyEndInALine) {
  type("y");
  hangUp();
  EXPECT_EQ(answer(), finish);
}

TEST_F(Answers, AreNotAwaitedAfterACancel) {
  type("\n");
  std::raise(SIGINT);
  EXPECT_EQ(answer(), PageAnswer::cancel);
}

TEST_F(Answers, EndWithASignalWhileWaiting) {
  const pthread_t waiting = pthread_self();
  std::jthread user([this, waiting] {
    type("q");  // not a complete line: reading continues
    pthread_kill(waiting, SIGINT);
  });
  EXPECT_EQ(answer(), PageAnswer::cancel);
}

}  // namespace
