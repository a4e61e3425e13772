#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ostream>
#include <string>
#include <thread>

#include "Fault.h"
#include "Scans.h"
#include "Supervised.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using scans::Clock;
using scans::readAll;
using testing::HasSubstr;

const std::string worker = Q750_WORKER;

bool isReady(int descriptor) {
  pollfd awaited{descriptor, POLLIN, 0};
  return poll(&awaited, 1, 0) == 1;
}

TEST_F(Supervised, ScansDeliverThePageOfTheGlassBitForBit) {
  ScanRequest lineart = scans::small(ColorMode::gray);
  lineart.threshold = 128;
  ScanRequest large = scans::small();
  large.settings = {150, ColorMode::color, {0, 0, 1275, 1753}};
  for (const ScanRequest& request : {scans::small(), scans::small(ColorMode::gray), lineart, large}) {
    SupervisedScan scan(request, worker);
    EXPECT_EQ(scan.awaitLayout(), expectedLayout(request));
    EXPECT_TRUE(readAll(scan) == scans::page(request));
    EXPECT_EQ(scan.outcome().sentence, "The page was scanned.");
    scan.finish();
    EXPECT_TRUE(scan.workerEndedWell());
  }
}

TEST_F(Supervised, ScansDeliverTheSameToEveryReader) {
  const std::vector<std::uint8_t> page = scans::page(scans::small());
  for (const std::size_t chunk : {1U, 7U, 951U, 4096U, 1000000U}) {
    SupervisedScan scan(scans::small(), worker);
    EXPECT_TRUE(readAll(scan, chunk) == page) << chunk;
    EXPECT_TRUE(scan.outcome().good());
    scan.finish();
    EXPECT_TRUE(scan.workerEndedWell()) << chunk;
  }
}

TEST_F(Supervised, ScansLeaveNoFileOfTheLibrarysBehind) {
  const char* const files[] = {"/tmp/vexo-data-dump", "/tmp/scan.tiff"};
  for (const char* file : files) std::filesystem::remove(file);
  SupervisedScan scan(scans::small(), worker);
  readAll(scan);
  EXPECT_TRUE(scan.outcome().good());
  scan.finish();
  for (const char* file : files) EXPECT_FALSE(std::filesystem::exists(file)) << file;
}

TEST_F(Supervised, ScansFollowEachOtherAndRunBesideEachOther) {
  SupervisedScan one(scans::small(), worker);
  SupervisedScan other(scans::small(ColorMode::gray), worker);
  EXPECT_TRUE(readAll(other) == scans::page(scans::small(ColorMode::gray)));
  EXPECT_TRUE(readAll(one) == scans::page(scans::small()));
  EXPECT_TRUE(one.outcome().good());
  EXPECT_TRUE(other.outcome().good());
}

class Faulty : public Supervised, public testing::WithParamInterface<WrongScan> {};

TEST_P(Faulty, ScansTellWhatHappened) {
  SupervisedScan scan(scans::with(GetParam().cause), worker);
  const std::vector<std::uint8_t> rows = readAll(scan);
  EXPECT_EQ(scan.outcome().status, GetParam().status) << scan.outcome().sentence;
  EXPECT_THAT(scan.outcome().sentence, HasSubstr(GetParam().words));
  EXPECT_TRUE(!scan.outcome().good() || rows == scans::page(scans::small()));
  scan.finish();
  EXPECT_TRUE(scan.workerEndedWell());
}

INSTANTIATE_TEST_SUITE_P(
    Table, Faulty,
    testing::Values(WrongScan{"stall@1", ScanStatus::ioError, "the pipe stalled"},
                    WrongScan{"stall@8", ScanStatus::ioError, "the pipe stalled"},
                    WrongScan{"time-out@1", ScanStatus::timedOut, "\"enterHostUSBSendMode\""},
                    WrongScan{"time-out@4", ScanStatus::good, ""},
                    WrongScan{"time-out@9", ScanStatus::good, ""},
                    WrongScan{"short-write@2", ScanStatus::timedOut, "\"create\""},
                    WrongScan{"unplug@1", ScanStatus::noDevice, "was disconnected"},
                    WrongScan{"unplug@8", ScanStatus::noDevice, "was disconnected"},
                    WrongScan{"exception-reply@2", ScanStatus::refused, "refused by fault injection"},
                    WrongScan{"split-reply@2", ScanStatus::good, ""},
                    WrongScan{"garbage-reply@2", ScanStatus::badData, "unreadable reply"},
                    WrongScan{"garbage@100000", ScanStatus::badData, "garbled"},
                    WrongScan{"truncated-image@0", ScanStatus::timedOut, "sent no data for 30 seconds"},
                    WrongScan{"truncated-image@100000", ScanStatus::timedOut,
                              "105 of 211 rows arrived, then no data for 30 seconds"},
                    WrongScan{"wrong-header@1", ScanStatus::badData, "gives no size"},
                    WrongScan{"wrong-header@3", ScanStatus::badData, "impossible size"},
                    WrongScan{"silence@3", ScanStatus::good, ""},
                    WrongScan{"silence@0", ScanStatus::timedOut, "sent no data for 30 seconds"}),
    nameOf);

TEST_F(Supervised, ScannersThatCannotBeAreTold) {
  ScanRequest request = scans::small();
  request.scanner = "flatbed";
  SupervisedScan unknown(request, worker);
  EXPECT_EQ(unknown.awaitLayout(), std::nullopt);
  EXPECT_EQ(unknown.outcome().status, ScanStatus::noDevice);
  SupervisedScan wrongFault(scans::with("fire"), worker);
  EXPECT_TRUE(readAll(wrongFault).empty());
  EXPECT_THAT(wrongFault.outcome().sentence, HasSubstr("\"fire\""));
}

TEST_F(Supervised, WorkersThatCannotBeStartedAreTold) {
  if (std::getenv("Q750_EMULATED") != nullptr) GTEST_SKIP() << "posix_spawn() reports no error there";
  for (const char* path : {"", "/none/q750-worker", "/etc/passwd", "/"}) {
    SupervisedScan scan(scans::small(), path);
    while (!isReady(scan.descriptor()))
      usleep(1000);  // at once, unless the system starts first and looks then
    EXPECT_EQ(scan.awaitLayout(), std::nullopt);
    EXPECT_TRUE(readAll(scan).empty());
    EXPECT_EQ(scan.outcome().status, ScanStatus::ioError);
    EXPECT_THAT(scan.outcome().sentence, HasSubstr("could not be started")) << path;
    EXPECT_THAT(scan.outcome().sentence, HasSubstr("Reinstall this software.")) << path;
    scan.cancel();
    scan.finish();
    EXPECT_FALSE(scan.workerEndedWell());
  }
}

// The state of a scan when a cancel arrives.
struct Moment {
  const char* name;
  ScanRequest request;
  std::size_t rowsBefore;  // bytes read before the cancel
};

void PrintTo(const Moment& one, std::ostream* out) {
  *out << one.name;
}

ScanRequest stalled() {
  ScanRequest request = scans::slow();
  request.virtualScanner.bytesPerSecond = 0;
  request.virtualScanner.faults = {"truncated-image@100000"};
  return request;
}

ScanRequest warmingUp() {
  ScanRequest request = scans::slow();
  request.virtualScanner.warmUpMs = 20000;
  return request;
}

class Cancelled : public Supervised, public testing::WithParamInterface<Moment> {
 protected:
  void expectQuickEnd(SupervisedScan& scan, Clock::time_point start) {
    EXPECT_TRUE(isReady(scan.descriptor()));
    std::uint8_t byte = 0;
    EXPECT_EQ(scan.read(&byte, 1), 0U);
    const auto answer = scans::since(start);
    EXPECT_EQ(scan.outcome().status, ScanStatus::cancelled);
    scan.finish();
    const auto gone = scans::since(start);
    EXPECT_LT(answer, 1s);
    EXPECT_LT(gone, 3s);
    EXPECT_TRUE(scan.workerEndedWell());
    RecordProperty("answerMs", static_cast<int>(answer.count()));
    RecordProperty("goneMs", static_cast<int>(gone.count()));
    std::printf("cancel at %s: answered in %d ms, worker gone in %d ms\n", GetParam().name,
                static_cast<int>(answer.count()), static_cast<int>(gone.count()));
  }
  void readUpToTheMoment(SupervisedScan& scan) {
    std::vector<std::uint8_t> buffer(GetParam().rowsBefore);
    for (std::size_t got = 0; got < buffer.size();) {
      const std::size_t count = scan.read(&buffer[got], buffer.size() - got);
      ASSERT_GT(count, 0U);
      got += count;
    }
  }
};

TEST_P(Cancelled, ScansEndAtOnceAndLeaveNothing) {
  SupervisedScan scan(GetParam().request, worker);
  readUpToTheMoment(scan);
  const auto start = Clock::now();
  scan.cancel();
  scan.cancel();
  expectQuickEnd(scan, start);
  scan.cancel();
}

TEST_P(Cancelled, ScansEndWhereASignalHandlerCancels) {
  static SupervisedScan* cancelled = nullptr;
  SupervisedScan scan(GetParam().request, worker);
  cancelled = &scan;
  readUpToTheMoment(scan);
  const auto before = std::signal(SIGUSR1, [](int) { cancelled->cancel(); });
  const auto start = Clock::now();
  const pthread_t reader = pthread_self();
  std::thread other([reader] { pthread_kill(reader, SIGUSR1); });
  other.join();
  // The signal is delivered before the next call of this thread returns to it.
  while (!isReady(scan.descriptor())) usleep(1000);
  std::vector<std::uint8_t> rest(1000000);
  while (scan.read(rest.data(), rest.size()) > 0) {
  }
  expectQuickEnd(scan, start);
  std::signal(SIGUSR1, before);
}

constexpr std::size_t smallBytes = std::size_t{317} * 211 * 3;

INSTANTIATE_TEST_SUITE_P(Moments, Cancelled,
                         testing::Values(Moment{"the very start", scans::slow(), 0},
                                         Moment{"warm-up", warmingUp(), 0},
                                         Moment{"the first byte", scans::slow(), 1},
                                         Moment{"the middle", scans::slow(), smallBytes / 8},
                                         Moment{"a stall", stalled(), 95000}),
                         [](const auto& test) {
                           std::string name = test.param.name;
                           for (char& character : name)
                             character = character == ' ' || character == '-' ? '_' : character;
                           return name;
                         });

TEST_F(Supervised, ScansCanBeCancelledWithTheLastRowUnread) {
  SupervisedScan scan(scans::small(), worker);
  std::vector<std::uint8_t> buffer(smallBytes - 951);
  for (std::size_t got = 0; got < buffer.size();) got += scan.read(&buffer[got], buffer.size() - got);
  scan.cancel();
  EXPECT_EQ(scan.read(buffer.data(), 951), 0U);
  EXPECT_EQ(scan.outcome().status, ScanStatus::cancelled);
}

TEST_F(Supervised, ScansStayGoodWhenCancelledAfterTheirEnd) {
  SupervisedScan scan(scans::small(), worker);
  readAll(scan);
  scan.cancel();
  std::uint8_t byte = 0;
  EXPECT_EQ(scan.read(&byte, 1), 0U);
  EXPECT_TRUE(scan.outcome().good());
}

TEST_F(Supervised, ACancelEndsTheWaitOfAnotherThread) {
  for (const bool forLayout : {true, false}) {
    SupervisedScan scan(warmingUp(), worker);
    std::thread other([&scan] {
      usleep(50000);
      scan.cancel();
    });
    const auto start = Clock::now();
    EXPECT_FALSE(forLayout && scan.awaitLayout());
    EXPECT_TRUE(readAll(scan).empty());
    EXPECT_LT(scans::since(start), 2s);
    EXPECT_EQ(scan.outcome().status, ScanStatus::cancelled);
    other.join();
  }
}

TEST_F(Supervised, AScannerThatWarmsUpTooLongIsTold) {
  ScanRequest request = warmingUp();
  request.timeout = 300ms;
  SupervisedScan scan(request, worker);
  readAll(scan);
  EXPECT_EQ(scan.outcome().status, ScanStatus::timedOut);
  EXPECT_THAT(scan.outcome().sentence, HasSubstr("no data for 1 second."));
}

TEST_F(Supervised, ADescriptorIsReadableOnlyWithBytesOrTheEnd) {
  ScanRequest request = scans::slow();
  request.virtualScanner.warmUpMs = 200;
  SupervisedScan scan(request, worker);
  ASSERT_TRUE(scan.awaitLayout());
  std::size_t got = 0;
  std::vector<std::uint8_t> buffer(100000);
  for (;;) {
    pollfd awaited{scan.descriptor(), POLLIN, 0};
    ASSERT_EQ(poll(&awaited, 1, 5000), 1);
    const auto count = scan.readAvailable(buffer.data(), buffer.size());
    ASSERT_TRUE(count);
    if (*count == 0) break;
    got += *count;
    const bool ready = isReady(scan.descriptor());
    const auto more = scan.readAvailable(buffer.data(), buffer.size());
    ASSERT_TRUE(more || !ready);
    if (more) got += *more;
    if (more == 0) break;
  }
  EXPECT_EQ(got, smallBytes);
  EXPECT_TRUE(scan.outcome().good());
  EXPECT_TRUE(isReady(scan.descriptor()));
}

// Bytes of the heap in use; always 0 where a sanitizer keeps its own, which finds leaks itself.
std::size_t heapInUse() {
  return mallinfo2().uordblks;
}

TEST_F(Supervised, ScansLeaveNoDescriptorNoChildAndNoMemory) {
  { SupervisedScan first(scans::small(), worker); }
  const std::size_t before = scans::openDescriptors();
  const std::size_t heapBefore = heapInUse();
  for (int round = 0; round < 25; ++round) {
    {
      SupervisedScan whole(scans::small(), worker);
      SupervisedScan dropped(scans::small(), worker);
      readAll(whole);
      EXPECT_TRUE(whole.outcome().good());
    }
    ASSERT_EQ(scans::openDescriptors(), before);
    expectNoChild();
  }
  EXPECT_LT(heapInUse(), heapBefore + 4096);
}

TEST_F(Supervised, ScansWorkWhereTheApplicationIgnoresItsChildren) {
  const auto before = std::signal(SIGCHLD, SIG_IGN);
  SupervisedScan scan(scans::small(), worker);
  EXPECT_TRUE(readAll(scan) == scans::page(scans::small()));
  EXPECT_TRUE(scan.outcome().good());
  const auto start = Clock::now();
  scan.finish();
  EXPECT_LT(scans::since(start), 1900ms);
  std::signal(SIGCHLD, before);
}

TEST_F(Supervised, ScansPrintNothing) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (const char* fault :
       {"garbage-reply@1", "garbage-reply@4", "garbage@0", "wrong-header@4", "unplug@3"}) {
    SupervisedScan scan(scans::with(fault), worker);
    readAll(scan);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Supervised, ACuriousUserSeesTheLog) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  ScanRequest request = scans::small();
  request.verbose = true;
  SupervisedScan scan(request, worker);
  readAll(scan);
  scan.finish();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("log: width: 317 height: 211"));
}

// The front end is a separate process here, which dies without notice.
TEST_F(Supervised, AWorkerWhoseFrontEndDiedGoesToo) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const pid_t frontEnd = fork();
  if (frontEnd == 0) {
    auto* scan = new SupervisedScan(warmingUp(), worker);
    // The worker inherits nothing of this pipe; its parent's other end gives its number.
    std::string children;
    const std::string path = "/proc/self/task/" + std::to_string(getpid()) + "/children";
    FILE* file = std::fopen(path.c_str(), "r");
    int child = 0;
    if (file == nullptr || std::fscanf(file, "%d", &child) != 1) child = 0;
    [[maybe_unused]] const ssize_t told = write(ends[1], &child, sizeof child);
    scan->awaitLayout();
    _exit(0);
  }
  int orphan = 0;
  ASSERT_EQ(read(ends[0], &orphan, sizeof orphan), static_cast<ssize_t>(sizeof orphan));
  close(ends[0]);
  close(ends[1]);
  ASSERT_GT(orphan, 0);
  EXPECT_EQ(kill(orphan, 0), 0);
  kill(frontEnd, SIGKILL);
  waitpid(frontEnd, nullptr, 0);
  const auto start = Clock::now();
  const auto alive = [orphan] {
    FILE* file = std::fopen(("/proc/" + std::to_string(orphan) + "/stat").c_str(), "r");
    if (file == nullptr) return false;
    char state = 'Z';
    const int fields = std::fscanf(file, "%*d %*s %c", &state);
    std::fclose(file);
    return fields == 1 && state != 'Z';  // one that nobody waits for is as good as gone
  };
  while (alive() && scans::since(start) < 5s) usleep(1000);
  EXPECT_FALSE(alive());
}

}  // namespace
