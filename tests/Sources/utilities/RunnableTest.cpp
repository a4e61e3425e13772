#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <future>
#include <thread>
#include <type_traits>

#include "Runnable.h"

namespace {

// What the next pthread_create() does instead of its work, and the request of the latest call.
struct ThreadCreation {
  int failure = 0;
  int detachState = -1;
  void* argument = nullptr;
};
ThreadCreation creation;

}  // namespace

// NOLINTBEGIN(bugprone-reserved-identifier): the names that the linker gives
extern "C" int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
extern "C" int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                     void* (*entry)(void*), void* argument) {
  pthread_attr_getdetachstate(attributes, &creation.detachState);
  creation.argument = argument;
  if (creation.failure != 0) return creation.failure;
  return __real_pthread_create(thread, attributes, entry, argument);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// Records on which thread it ran and when it was deleted.
class Work : public Runnable {
 public:
  struct Record {
    std::promise<std::thread::id> ranOn;
    std::promise<void> deleted;  // a second deletion throws out of the destructor
    std::atomic<bool> running{false};
    std::atomic<bool> deletedWhileRunning{false};
  };

  explicit Work(Record& record) : record_(record) {}
  ~Work() override {
    if (record_.running) record_.deletedWhileRunning = true;
    record_.deleted.set_value();
  }
  std::int32_t run() override {
    record_.running = true;
    record_.ranOn.set_value(std::this_thread::get_id());
    record_.running = false;
    return 4711;
  }

 private:
  Record& record_;
};

class RunnableTest : public testing::Test {
 protected:
  RunnableTest() { creation = {}; }
  Work::Record record;
};

TEST_F(RunnableTest, RunsOnAnotherThreadWhichThenDeletesItOnce) {
  ASSERT_EQ((new Work(record))->start(), 0);
  EXPECT_NE(record.ranOn.get_future().get(), std::this_thread::get_id());
  record.deleted.get_future().wait();
  EXPECT_FALSE(record.deletedWhileRunning);
}

TEST_F(RunnableTest, StartsADetachedThreadWithTheObjectAsItsArgument) {
  auto* work = new Work(record);
  ASSERT_EQ(work->start(), 0);
  EXPECT_EQ(creation.detachState, PTHREAD_CREATE_DETACHED);
  EXPECT_EQ(creation.argument, work);
  record.deleted.get_future().wait();
}

TEST_F(RunnableTest, StaysWithItsOwnerWhereNoThreadCouldBeMade) {
  for (const int failure : {EAGAIN, EPERM}) {
    Work::Record untouched;
    creation.failure = failure;
    {
      Work work(untouched);
      EXPECT_EQ(work.start(), failure);
      EXPECT_EQ(untouched.deleted.get_future().wait_for(std::chrono::seconds(0)),
                std::future_status::timeout);
    }
  }
}

TEST_F(RunnableTest, DoesNothingInItsBaseVersion) {
  EXPECT_EQ(Runnable().run(), 0);
}

TEST_F(RunnableTest, IsRunAndDeletedByTheThreadEntryWhoseResultIsNothing) {
  EXPECT_EQ(runfunction(new Work(record)), nullptr);
  EXPECT_EQ(record.ranOn.get_future().get(), std::this_thread::get_id());
  EXPECT_EQ(record.deleted.get_future().wait_for(std::chrono::seconds(0)), std::future_status::ready);
}

TEST_F(RunnableTest, HasNothingButItsVirtualOperations) {
  EXPECT_EQ(sizeof(Runnable), sizeof(void*));
  EXPECT_TRUE(std::has_virtual_destructor_v<Runnable>);
}

}  // namespace
