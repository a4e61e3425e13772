// Whether the process that reads the scanner is confined: platform/confinement tests what that means.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "Bed.h"
#include "Confinement.h"
#include "Scans.h"
#include "Supervised.h"
#include "TemporaryFolder.h"

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

// misbehaving/library.cpp is preloaded, and reports what each attempt of it got.
TEST_F(ConfinedWorker, IsRefusedWhateverCodeInItTriesBeforeTheScannerIsOpened) {
  const platform::Confinement possible = platform::tryConfinement({});
  if (!possible.systemCalls || !possible.files) GTEST_SKIP() << "this system does not confine it wholly";
  setenv("LD_PRELOAD", Q750_MISBEHAVING, 1);
  frontend::SupervisedScan scan(scans::small(), Q750_WORKER);
  unsetenv("LD_PRELOAD");
  EXPECT_EQ(scans::readAll(scan).size(), 0U);
  EXPECT_EQ(scan.outcome().sentence, "open 13, create 1, socket 1, signal 1, program 1")
      << "EPERM is 1, EACCES 13";
}

// No rule of its confinement names the file: it arrives open, so that its name may even be gone.
TEST_F(ConfinedWorker, ScansAPaperThatItCannotOpen) {
  const TemporaryFolder folder;
  frontend::ScanRequest request = scans::small();
  request.settings.area = {0, 0, 2, 1};
  request.virtualScanner.paper = folder / "page.ppm";
  writeContent(request.virtualScanner.paper, "P6\n1 1\n255\n\x10\x40\x70");
  frontend::SupervisedScan scan(request, Q750_WORKER);
  std::filesystem::remove(request.virtualScanner.paper);
  EXPECT_EQ(scans::readAll(scan), (std::vector<std::uint8_t>{0x10, 0x40, 0x70, 0x10, 0x40, 0x70}));
  EXPECT_EQ(scan.outcome().sentence, frontend::outcome::good().sentence);
}

TEST_F(ConfinedWorker, IsNotStartedForAPaperThatCannotBeRead) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo((folder / "fifo").c_str(), 0600), 0);
  for (const auto& [paper, problem] :
       {std::pair{folder / "missing", "cannot be opened: No such file or directory"},
        {folder.path().string(), "is not a regular file"},
        {folder / "fifo", "is not a regular file"}}) {
    frontend::ScanRequest request = scans::small();
    request.virtualScanner.paper = paper;
    frontend::SupervisedScan scan(request, Q750_WORKER);
    EXPECT_EQ(scans::readAll(scan).size(), 0U);
    EXPECT_EQ(scan.outcome().status, frontend::ScanStatus::noDevice);
    EXPECT_EQ(scan.outcome().sentence, paper + ": " + problem);
    expectNoChild();
  }
}

TEST_F(ConfinedWorker, ReportsAPaperThatIsNoPicture) {
  const TemporaryFolder folder;
  frontend::ScanRequest request = scans::small();
  request.virtualScanner.paper = folder / "page.png";
  writeContent(request.virtualScanner.paper, "text");
  frontend::SupervisedScan scan(request, Q750_WORKER);
  EXPECT_EQ(scans::readAll(scan).size(), 0U);
  EXPECT_EQ(scan.outcome().sentence, request.virtualScanner.paper + ": is not a PNG, JPEG or PNM picture");
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

TEST_F(ConfinedWorker, HasMemoryForALargePaper) {
  const TemporaryFolder folder;
  frontend::ScanRequest request = scans::small();
  request.virtualScanner.paper = folder / "page.pbm";
  writeContent(request.virtualScanner.paper, "P4\n6704 6700\n" + std::string(6704 / 8 * 6700, '\0'));
  frontend::SupervisedScan scan(request, Q750_WORKER);
  EXPECT_EQ(scans::readAll(scan).size(), request.settings.rasterBytes()) << scan.outcome().sentence;
}

}  // namespace
