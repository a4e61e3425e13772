#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>

#include "FrontEnd.h"
#include "InterruptedHeap.h"

namespace {

using testing::AnyOf;

// For the signal handler.
std::atomic<SANE_Handle> interruptedHandle;
std::atomic<decltype(sane_cancel)*> interruptedCancel;

void cancelInsideTheHeap(int) {
  interruptedCancel.load()(interruptedHandle.load());
}

class SaneCancelInAHandler : public FrontEnd {
 protected:
  SaneCancelInAHandler() : before_(std::signal(SIGUSR1, cancelInsideTheHeap)) {
    open();
    interruptedHandle = handle;
    interruptedCancel = library.cancel;
  }
  ~SaneCancelInAHandler() override { std::signal(SIGUSR1, before_); }

  // One scan of a small page, cancelled inside the n-th call of the heap. Returns whether there was one.
  bool scanInterruptedAt(long n) {
    askForSmallScan("Gray");
    const InterruptedHeap heap(SIGUSR1, n);
    EXPECT_EQ(start(), SANE_STATUS_GOOD) << n;
    parameters();
    readAll();
    EXPECT_THAT(status, AnyOf(SANE_STATUS_CANCELLED, SANE_STATUS_EOF)) << n;
    EXPECT_EQ(heap.violations(), 0) << n;
    return heap.happened();
  }

 private:
  void (*before_)(int);
};

TEST_F(SaneCancelInAHandler, NeitherAllocatesNorLocksWhateverItInterrupts) {
  long calls = 0;
  while (scanInterruptedAt(calls + 1)) ++calls;
  EXPECT_GT(calls, 20) << "in a whole scan";
  RecordProperty("calls", std::to_string(calls));
  EXPECT_EQ(status, SANE_STATUS_EOF) << "of the last one, which nothing interrupted";
}

}  // namespace
