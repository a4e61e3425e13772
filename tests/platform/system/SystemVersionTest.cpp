#include <gtest/gtest.h>

#include <optional>

#include "SystemVersion.h"

using platform::overrideSystemVersion;
using platform::restoreSystemVersion;
using platform::systemVersion;

namespace {

TEST(SystemVersion, IsTenPointFour) {
  EXPECT_EQ(systemVersion(), 0x1040);
}

TEST(SystemVersion, AnswersWhatAnOverrideSaysUntilItEnds) {
  overrideSystemVersion(0x102F);
  EXPECT_EQ(systemVersion(), 0x102F);
  overrideSystemVersion(std::nullopt);
  EXPECT_EQ(systemVersion(), std::nullopt);
  restoreSystemVersion();
  EXPECT_EQ(systemVersion(), 0x1040);
}

}  // namespace
