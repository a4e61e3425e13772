// Whether the process that reads the scanner is confined: platform/confinement tests what that means.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "Bed.h"
#include "Confinement.h"
#include "Scans.h"
#include "Supervised.h"

namespace {

using testing::HasSubstr;

// The one child of this process.
std::string statusOfTheWorker() {
  std::string child;
  std::ifstream("/proc/self/task/" + std::to_string(getpid()) + "/children") >> child;
  std::ifstream status("/proc/" + child + "/status");
  return {std::istreambuf_iterator<char>(status), {}};
}

class ConfinedWorker : public Supervised {};

TEST_F(ConfinedWorker, IsConfinedBeforeTheFirstRowAndScansAllTheSame) {
  const platform::Confinement possible = platform::tryConfinement({});
  frontend::SupervisedScan scan(scans::slow(), Q750_WORKER);
  ASSERT_TRUE(scan.awaitLayout());
  const std::string status = statusOfTheWorker();
  EXPECT_THAT(status, HasSubstr("q750-worker"));
  EXPECT_THAT(status, HasSubstr(possible.privileges ? "NoNewPrivs:\t1" : "NoNewPrivs:"));
  EXPECT_THAT(status, HasSubstr(possible.systemCalls ? "Seccomp:\t2" : "Seccomp:"));
  EXPECT_EQ(scans::readAll(scan), scans::page(scans::slow()));
}

// The limit of its memory is high enough for the largest pages, in the smallest packets that a scanner sends.
TEST_F(ConfinedWorker, HasMemoryForTheLargestPages) {
  for (const auto& [resolution, mode] :
       {std::pair{300U, frontend::ColorMode::color}, {600U, frontend::ColorMode::gray}}) {
    frontend::ScanRequest request;
    request.scanner = "virtual";
    request.settings = {resolution, mode, frontend::wholeBed(resolution)};
    request.virtualScanner.packetSize = 56;
    frontend::SupervisedScan scan(request, Q750_WORKER);
    EXPECT_EQ(scans::readAll(scan, 1 << 20).size(), request.settings.rasterBytes());
    EXPECT_EQ(scan.outcome().sentence, frontend::outcome::good().sentence);
  }
}

}  // namespace
