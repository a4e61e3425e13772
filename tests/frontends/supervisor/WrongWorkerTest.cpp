#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Scans.h"
#include "Supervised.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using scans::Clock;
using scans::readAll;
using testing::HasSubstr;

class WrongWorker : public Supervised, public testing::WithParamInterface<WrongScan> {};

TEST_P(WrongWorker, EndsInAnOutcome) {
  ScanRequest request = scans::small();
  request.scanner = GetParam().cause;
  SupervisedScan scan(request, Q750_FAKE_WORKER);
  const std::size_t got = readAll(scan).size();
  EXPECT_EQ(scan.outcome().status, GetParam().status) << scan.outcome().sentence;
  EXPECT_THAT(scan.outcome().sentence, HasSubstr(GetParam().words));
  EXPECT_LE(got, expectedLayout(request).bytes());
  const auto start = Clock::now();
  scan.finish();
  EXPECT_LT(scans::since(start), 3s);
}

INSTANTIATE_TEST_SUITE_P(
    Deeds, WrongWorker,
    testing::Values(
        WrongScan{"crashes", ScanStatus::ioError,
                  "it was killed by signal 9, perhaps because memory ran out. Close other programs"},
        WrongScan{"finds no memory", ScanStatus::noMemory, "not enough memory"},
        WrongScan{"crashes in the middle", ScanStatus::ioError, "it was killed by signal 11"},
        WrongScan{"leaves without a word", ScanStatus::ioError, "it exited with status 7"},
        WrongScan{"never runs", ScanStatus::ioError,
                  "fake-worker: the system could not run it). If memory is short, close other programs"},
        WrongScan{"babbles", ScanStatus::ioError, "do not match"},
        WrongScan{"sends control characters", ScanStatus::refused, "?[2J???? \xC3\xBC"},
        WrongScan{"babbles without end", ScanStatus::ioError, "do not match"},
        WrongScan{"tells the layout without end", ScanStatus::ioError, ""},
        WrongScan{"tells another layout", ScanStatus::badData, "318 x 211 pixels, color) than requested"},
        WrongScan{"sends bytes before the layout", ScanStatus::ioError, "do not match"},
        WrongScan{"sends too much", ScanStatus::badData, "more rows"},
        WrongScan{"sends too little", ScanStatus::badData, "incomplete: 210 of 211 rows"},
        WrongScan{"sends nothing", ScanStatus::badData, "without sending a picture"},
        WrongScan{"closes early", ScanStatus::ioError, "it stopped responding"},
        WrongScan{"stays after the end", ScanStatus::good, ""}),
    nameOf);

TEST_F(Supervised, AWorkerThatHeedsNothingIsEnded) {
  for (const char* deed : {"stops", "stops in the middle"}) {
    ScanRequest request = scans::small();
    request.scanner = deed;
    SupervisedScan scan(request, Q750_FAKE_WORKER);
    usleep(20000);
    const auto start = Clock::now();
    scan.cancel();
    readAll(scan);
    EXPECT_LT(scans::since(start), 1s);
    scan.finish();
    EXPECT_LT(scans::since(start), 4s);
    EXPECT_FALSE(scan.workerEndedWell());
  }
}

}  // namespace
