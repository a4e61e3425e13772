#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <thread>

#include "ScannerSearch.h"
#include "Scans.h"
#include "Supervised.h"
#include "TemporaryFolder.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using testing::HasSubstr;

// A search by the misbehaving worker, whose file name selects the misbehaviour.
class WrongSearch : public Supervised {
 protected:
  std::string worker(const std::string& deed) {
    const std::string link = folder / deed;
    std::filesystem::create_symlink(Q750_FAKE_WORKER, link);
    return link;
  }

  TemporaryFolder folder;
};

class ImpatientSearch : public ScannerSearch {
 public:
  explicit ImpatientSearch(const std::string& worker) : ScannerSearch(worker, 100ms) {}
};

std::string deedOf(const testing::TestParamInfo<WrongScan>& test) {
  return nameOf(test);
}

class WrongSearches : public WrongSearch, public testing::WithParamInterface<WrongScan> {};

TEST_P(WrongSearches, EndInAnOutcome) {
  ScannerSearch search(worker(GetParam().cause));
  const auto outcome = std::get<ScanOutcome>(search.run());
  EXPECT_EQ(outcome.status, GetParam().status) << outcome.sentence;
  EXPECT_THAT(outcome.sentence, HasSubstr(GetParam().words));
}

INSTANTIATE_TEST_SUITE_P(
    Deeds, WrongSearches,
    testing::Values(WrongScan{"closes-its-connection", ScanStatus::ioError, "it stopped responding"},
                    WrongScan{"crashes", ScanStatus::ioError, "killed by signal 9"},
                    WrongScan{"leaves-without-a-word", ScanStatus::ioError, "it exited with status 7"},
                    WrongScan{"finds-no-memory", ScanStatus::noMemory, "not enough memory"},
                    WrongScan{"never-runs", ScanStatus::ioError, "the system could not run it"},
                    WrongScan{"babbles", ScanStatus::ioError, "do not match"},
                    WrongScan{"sends-a-layout", ScanStatus::ioError, "do not match"},
                    WrongScan{"sends-a-good-outcome", ScanStatus::ioError, "do not match"},
                    WrongScan{"sends-control-characters", ScanStatus::refused, "?[2J???? \xC3\xBC"},
                    WrongScan{"has-no-usb", ScanStatus::noDevice, "USB cannot be used: Other error"}),
    deedOf);

TEST_F(WrongSearch, ListsWhatTheWorkerListed) {
  ScannerSearch search(worker("lists-one"));
  const auto scanners = std::get<AttachedScanners>(search.run());
  ASSERT_EQ(scanners.size(), 1U);
  EXPECT_EQ(scanners[0].path.text(), "1-2");
  EXPECT_EQ(scanners[0].node(), "/dev/bus/usb/001/003");
}

TEST_F(WrongSearch, GivesUpAWorkerThatHangs) {
  for (const char* deed : {"hangs", "stops"}) {
    const auto start = scans::Clock::now();
    ImpatientSearch search(worker(deed));
    const auto outcome = std::get<ScanOutcome>(search.run());
    EXPECT_EQ(outcome.status, ScanStatus::timedOut);
    EXPECT_EQ(
        outcome.sentence,
        "This computer did not list its USB devices within 1 second. Unplug devices that do not respond, "
        "or restart the computer.");
    EXPECT_LT(scans::since(start), 3s);
  }
}

// As libusb does where it cannot end its own thread.
TEST_F(WrongSearch, TakesTheListOfAWorkerThatHangsAfterIt) {
  const auto start = scans::Clock::now();
  ScannerSearch search(worker("hangs-after-the-list"));
  EXPECT_EQ(std::get<AttachedScanners>(search.run()).size(), 1U);
  EXPECT_LT(scans::since(start), 3s);
}

TEST_F(WrongSearch, EndsByACancelBeforeOrDuringIt) {
  const std::string hanging = worker("hangs");
  ScannerSearch cancelled(hanging);
  cancelled.cancel();
  EXPECT_EQ(std::get<ScanOutcome>(cancelled.run()).status, ScanStatus::cancelled);
  ScannerSearch search(hanging);
  std::thread user([&search] { search.cancel(); });
  EXPECT_EQ(std::get<ScanOutcome>(search.run()).status, ScanStatus::cancelled);
  user.join();
}

TEST_F(Supervised, ASearchWithoutAWorkerReportsThat) {
  if (std::getenv("Q750_EMULATED") != nullptr) GTEST_SKIP() << "posix_spawn() reports no error there";
  ScannerSearch search("/nowhere/q750-worker");
  const auto outcome = std::get<ScanOutcome>(search.run());
  EXPECT_EQ(outcome.status, ScanStatus::ioError);
  EXPECT_THAT(outcome.sentence, HasSubstr("(/nowhere/q750-worker: No such file or directory)"));
}

}  // namespace
