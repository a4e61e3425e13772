#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "TemporaryFolder.h"
#include "WorkerNeeds.h"

namespace {

using namespace frontend;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(WorkerNeeds, AreUsbDevicesForWritingAndNothingElse) {
  const platform::ConfinementNeeds needs = workerNeeds(ScanRequest());
  EXPECT_THAT(needs.devices, ElementsAre("/dev/bus/usb"));
  EXPECT_THAT(needs.sockets, IsEmpty());
  EXPECT_THAT(needs.readable, Contains("/sys"));
}

// What a worker that misbehaves gets for the name of this file: 0, or an errno.
int opened(const std::string& path, const ScanRequest& request) {
  const pid_t child = fork();
  if (child == 0) {
    platform::confineProcess(workerNeeds(request));
    _exit(open(path.c_str(), O_RDONLY | O_CLOEXEC) < 0 ? errno : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(WorkerNeeds, AreNoFileOfTheUserNotEvenThePaperByItsName) {
  const TemporaryFolder folder;
  ScanRequest request;
  request.scanner = "virtual";
  request.virtualScanner.paper = folder / "page.pgm";
  writeContent(request.virtualScanner.paper, "P5\n1 1\n255\nx");
  EXPECT_EQ(workerNeeds(request).readable, workerNeeds({}).readable);
  const bool enforced = platform::tryConfinement({}).files;
  EXPECT_EQ(opened(request.virtualScanner.paper, request), enforced ? EACCES : 0);
  EXPECT_EQ(opened("/sys", request), 0);
}

// The library holds up to three and a half copies, and an object of some sixty bytes for each of the packets
// that StreamBounds.h allows.
TEST(WorkerNeeds, AreMemoryForSeveralTimesThePicture) {
  ScanRequest request;
  request.settings.area = {0, 0, 2550, 3507};
  const std::uint64_t raster = 2550 * 3507 * 3;
  EXPECT_EQ(workerNeeds(request).memoryBytes, (256U << 20) + 10 * raster);
  request.virtualScanner.paper = "page.png";
  EXPECT_EQ(workerNeeds(request).memoryBytes, (256U << 20) + 10 * raster + (1U << 30));
}

TEST(WorkerNeeds, OfAListAreThoseOfAnyScan) {
  EXPECT_EQ(workerNeeds().readable, workerNeeds(ScanRequest()).readable);
  EXPECT_THAT(workerNeeds().devices, ElementsAre("/dev/bus/usb"));
  EXPECT_EQ(workerNeeds().memoryBytes, 256U << 20);
}

TEST(WorkerNeeds, AreSocketsInTheFolderOfAnEmulation) {
  setenv("UMOCKDEV_DIR", "/emulated", 1);
  EXPECT_THAT(workerNeeds(ScanRequest()).sockets, ElementsAre("/emulated"));
  unsetenv("UMOCKDEV_DIR");
}

}  // namespace
