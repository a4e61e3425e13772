#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include "Scans.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using testing::HasSubstr;

// One whose worker may be silent for no longer than its scanner.
class ImpatientScan : public SupervisedScan {
 public:
  ImpatientScan(const ScanRequest& request, const std::string& worker)
      : SupervisedScan(request, worker, 0ms) {}
};

ScanRequest deed(const char* what, std::chrono::milliseconds timeout) {
  ScanRequest request = scans::small();
  request.scanner = what;
  request.timeout = timeout;
  return request;
}

// Reads as a program with its own event loop does.
std::size_t readByDescriptor(SupervisedScan& scan) {
  std::size_t got = 0;
  std::vector<std::uint8_t> buffer(65536);
  for (;;) {
    pollfd awaited{scan.descriptor(), POLLIN, 0};
    if (poll(&awaited, 1, 10000) != 1) return got;
    const auto count = scan.readAvailable(buffer.data(), buffer.size());
    if (count == 0) return got;
    got += count.value_or(0);
  }
}

void expectGivenUp(const SupervisedScan& scan) {
  EXPECT_EQ(scan.outcome().status, ScanStatus::ioError);
  EXPECT_THAT(scan.outcome().sentence, HasSubstr("it stopped responding"));
}

TEST(Heartbeats, MissingForTooLongEndTheScanHoweverItIsRead) {
  for (const char* what : {"stops", "stops in the middle"}) {
    ImpatientScan blocking(deed(what, 200ms), Q750_FAKE_WORKER);
    ImpatientScan polled(deed(what, 200ms), Q750_FAKE_WORKER);
    scans::readAll(blocking);
    expectGivenUp(blocking);
    readByDescriptor(polled);
    expectGivenUp(polled);
  }
  ImpatientScan waiting(deed("stops", 200ms), Q750_FAKE_WORKER);
  EXPECT_EQ(waiting.awaitLayout(), std::nullopt);
  expectGivenUp(waiting);
}

TEST(Heartbeats, KeepAWorkerThatTakesItsTime) {
  ImpatientScan blocking(deed("takes its time", 600ms), Q750_FAKE_WORKER);
  ImpatientScan polled(deed("takes its time", 600ms), Q750_FAKE_WORKER);
  std::thread other([&polled] { EXPECT_EQ(readByDescriptor(polled), polled.awaitLayout()->bytes()); });
  EXPECT_TRUE(blocking.awaitLayout());
  EXPECT_EQ(scans::readAll(blocking).size(), expectedLayout(scans::small()).bytes());
  EXPECT_TRUE(blocking.outcome().good()) << blocking.outcome().sentence;
  other.join();
  EXPECT_TRUE(polled.outcome().good()) << polled.outcome().sentence;
}

// The picture does not fit the pipe: the worker waits as well.
TEST(Heartbeats, AreNotMissedOfAWorkerThatWaitsForItsFrontEnd) {
  ScanRequest request = scans::small();
  request.settings = {150, ColorMode::color, {0, 0, 1275, 1000}};
  request.timeout = 1500ms;
  ImpatientScan scan(request, Q750_WORKER);
  ASSERT_TRUE(scan.awaitLayout());
  std::this_thread::sleep_for(1800ms);
  EXPECT_TRUE(scans::readAll(scan) == scans::page(request));
  EXPECT_TRUE(scan.outcome().good()) << scan.outcome().sentence;
  scan.finish();
  EXPECT_TRUE(scan.workerEndedWell());
}

// A clock that advances by a second whenever it is read.
class HastyScan : public SupervisedScan {
 public:
  HastyScan(const ScanRequest& request, const std::string& worker)
      : SupervisedScan(request, worker, 20s,
                       [time = scans::Clock::time_point()]() mutable { return time += 1s; }) {}
};

TEST(AnExplanation, IsAwaitedForAMomentOnly) {
  HastyScan scan(deed("closes early", 30s), Q750_FAKE_WORKER);
  scans::readAll(scan);
  EXPECT_THAT(scan.outcome().sentence, HasSubstr("ended unexpectedly: it stopped responding"));
}

TEST(TheWorkersProcess, MayBeWaitedForByTheApplication) {
  std::atomic<bool> over{false};
  std::thread reaper([&over] {
    while (!over.load()) {
      if (waitpid(-1, nullptr, 0) < 0) std::this_thread::sleep_for(1ms);
    }
  });
  for (int round = 0; round < 3; ++round) {
    SupervisedScan scan(scans::small(), Q750_WORKER);
    EXPECT_TRUE(scans::readAll(scan) == scans::page(scans::small()));
    EXPECT_TRUE(scan.outcome().good());
    const auto start = scans::Clock::now();
    scan.finish();
    EXPECT_LT(scans::since(start), 1900ms);
  }
  SupervisedScan dead(deed("crashes", 30s), Q750_FAKE_WORKER);
  scans::readAll(dead);
  EXPECT_THAT(dead.outcome().sentence, HasSubstr("ended unexpectedly"));
  over.store(true);
  reaper.join();
}

TEST(TheWorkersProcess, HasItsOwnDescriptorsAndNoOther) {
  for (const bool verbose : {false, true}) {
    ScanRequest request = deed("refuses wrong descriptors", 30s);
    request.verbose = verbose;
    const int inheritable = dup2(STDERR_FILENO, 100);
    SupervisedScan scan(request, Q750_FAKE_WORKER);
    scans::readAll(scan);
    EXPECT_EQ(scan.outcome().status, ScanStatus::refused) << scan.outcome().sentence;
    close(inheritable);
  }
}

TEST(TheWorkersProcess, HasItsStandardDescriptorsWhereTheApplicationHasNone) {
  std::vector<int> saved;
  for (const int descriptor : {0, 1, 2}) saved.push_back(fcntl(descriptor, F_DUPFD_CLOEXEC, 100));
  for (const int descriptor : {0, 1, 2}) close(descriptor);
  {
    ScanRequest request = deed("refuses wrong descriptors", 30s);
    request.verbose = true;
    SupervisedScan scan(request, Q750_FAKE_WORKER);
    scans::readAll(scan);
    EXPECT_EQ(scan.outcome().status, ScanStatus::refused) << scan.outcome().sentence;
  }
  for (const int descriptor : {0, 1, 2}) {
    EXPECT_EQ(fcntl(descriptor, F_GETFD), -1) << descriptor;
    dup2(saved[static_cast<std::size_t>(descriptor)], descriptor);
    close(saved[static_cast<std::size_t>(descriptor)]);
  }
}

}  // namespace
