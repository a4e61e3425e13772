#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "WorkerEnvironment.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> passedOn(std::vector<std::string> environment) {
  std::vector<char*> entries;
  for (std::string& entry : environment) entries.push_back(entry.data());
  entries.push_back(nullptr);
  const std::vector<char*> result = frontend::workerEnvironment(entries.data());
  EXPECT_EQ(result.back(), nullptr);
  return {result.begin(), result.end() - 1};
}

TEST(WorkerEnvironment, HasLanguageTimeZoneAndLibraries) {
  EXPECT_THAT(passedOn({"TZ=UTC", "LC_ALL=C", "LANG=de_DE.UTF-8", "LD_LIBRARY_PATH=/opt/lib"}),
              ElementsAre("TZ=UTC", "LC_ALL=C", "LANG=de_DE.UTF-8", "LD_LIBRARY_PATH=/opt/lib"));
}

// Devices that only look like those of a kernel, as tools/package-check makes them.
TEST(WorkerEnvironment, HasWhatFindsEmulatedDevices) {
  EXPECT_THAT(passedOn({"UMOCKDEV_DIR=/tmp/x", "SYSTEMD_DEVICE_VERIFY_SYSFS=0"}),
              ElementsAre("UMOCKDEV_DIR=/tmp/x", "SYSTEMD_DEVICE_VERIFY_SYSFS=0"));
}

TEST(WorkerEnvironment, LacksEverythingElse) {
  EXPECT_THAT(passedOn({"HOME=/home/someone", "AWS_SECRET_ACCESS_KEY=x", "DISPLAY=:0", "TZDIR=/x",
                        "LANGUID=1", "", "x"}),
              IsEmpty());
}

TEST(WorkerEnvironment, IsEmptyWhereTheApplicationHasNone) {
  EXPECT_THAT(passedOn({}), IsEmpty());
  EXPECT_THAT(frontend::workerEnvironment(nullptr), ElementsAre(nullptr));
}

}  // namespace
