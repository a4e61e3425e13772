#include <gtest/gtest.h>
#include <unistd.h>

#include "ListTask.h"

namespace {

// The system then ends the process, whatever hangs: no other process does so once the front end has exited.
TEST(ListTask, EndsByItselfAfterFifteenSeconds) {
  frontend::endByItself();
  EXPECT_EQ(alarm(0), 15U);
}

}  // namespace
