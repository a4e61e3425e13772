#include <gtest/gtest.h>

#include <cstdlib>
#include <new>

#include "ColorProfile.h"
#include "MallocFaults.h"

namespace {

using namespace frontend;

constexpr PictureLayout layout{37, 29, 3, 8, 300};

// In a program of its own: a profile is made once.
TEST(NoMemoryDeathTest, LeavesTheColorProfileForLater) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto makeProfiles = [] {
    bool failed = true;
    for (int n = 1; failed; ++n) {
      const MallocFaults faults = MallocFaults::from(n);
      try {
        colorProfileOf(layout);
      } catch (const std::bad_alloc&) {
      }
      failed = faults.happened();
    }
    std::exit(colorProfileOf(layout).empty() ? 1 : 0);
  };
  EXPECT_EXIT(makeProfiles(), testing::ExitedWithCode(0), "");
}

}  // namespace
