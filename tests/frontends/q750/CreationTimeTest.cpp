#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "CreationTime.h"

namespace {

class TheCreationTime : public testing::Test {
 protected:
  TheCreationTime() { unsetenv("SOURCE_DATE_EPOCH"); }
  ~TheCreationTime() override { unsetenv("SOURCE_DATE_EPOCH"); }
  static std::int64_t withEpoch(const char* epoch) {
    setenv("SOURCE_DATE_EPOCH", epoch, 1);
    return frontend::creationTime();
  }
};

TEST_F(TheCreationTime, IsThatOfTheClock) {
  const std::int64_t before = std::time(nullptr);
  EXPECT_GE(frontend::creationTime(), before);
  EXPECT_LE(frontend::creationTime(), std::time(nullptr));
}

TEST_F(TheCreationTime, IsFixedByTheEnvironment) {
  EXPECT_EQ(withEpoch("0"), 0);
  EXPECT_EQ(withEpoch("951868799"), 951868799);
  EXPECT_EQ(withEpoch("253402300799"), 253402300799);
}

TEST_F(TheCreationTime, IgnoresWhatIsNotATime) {
  for (const char* epoch : {"", " 1", "1 ", "-1", "1.5", "now", "253402300800", "99999999999999999999"})
    EXPECT_GE(withEpoch(epoch), 1'700'000'000) << epoch;
}

}  // namespace
