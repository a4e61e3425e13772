#include <gtest/gtest.h>
#include <unistd.h>

#include "ListTask.h"

namespace {

// The system ends the process then, whatever hangs: nobody is left to do it once the front end is gone.
TEST(ListTask, EndsByItselfAfterFifteenSeconds) {
  frontend::endByItself();
  EXPECT_EQ(alarm(0), 15U);
}

}  // namespace
