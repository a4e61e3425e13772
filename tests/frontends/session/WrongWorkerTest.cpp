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

struct Misdeed {
  const char* deed;
  ScanStatus status;
  const char* words;
};

void PrintTo(const Misdeed& one, std::ostream* out) {
  *out << one.deed;
}

class WrongWorker : public Supervised, public testing::WithParamInterface<Misdeed> {};

TEST_P(WrongWorker, EndsInAnOutcome) {
  ScanRequest request = scans::small();
  request.scanner = GetParam().deed;
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
        Misdeed{"crashes", ScanStatus::ioError, "signal 9 ended it"},
        Misdeed{"crashes in the middle", ScanStatus::ioError, "signal 11 ended it"},
        Misdeed{"leaves without a word", ScanStatus::ioError, "it ended with status 7"},
        Misdeed{"babbles", ScanStatus::ioError, "do not understand each other"},
        Misdeed{"babbles without end", ScanStatus::ioError, "do not understand each other"},
        Misdeed{"tells the layout without end", ScanStatus::ioError, ""},
        Misdeed{"tells another layout", ScanStatus::badData, "318 x 211 pixels, colour) than it was asked"},
        Misdeed{"sends bytes before the layout", ScanStatus::ioError, "do not understand each other"},
        Misdeed{"sends too much", ScanStatus::badData, "more rows"},
        Misdeed{"sends too little", ScanStatus::badData, "incomplete: 210 of 211 rows"},
        Misdeed{"sends nothing", ScanStatus::badData, "without sending a picture"},
        Misdeed{"closes early", ScanStatus::ioError, "ended before it was done"},
        Misdeed{"stays after the end", ScanStatus::good, ""}),
    [](const auto& test) {
      std::string name = test.param.deed;
      for (char& character : name) character = character == ' ' ? '_' : character;
      return name;
    });

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
