#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <set>
#include <string>

#include "FakeScanner.h"
#include "ScanJobs.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;

class Jobs : public testing::Test {
 protected:
  // A job that has scanned its page.
  std::string scanned() {
    scanner.sendPage();
    const std::string id = jobs.post(FakeScanner::ticket()).id;
    EXPECT_TRUE(jobs.find(id)->awaitFreeScanner(10s));
    return id;
  }

  FakeScanner scanner;
  ScanJobs jobs{scanner.setup()};
};

TEST(RandomJobId, IsAUuidThatNobodyHasHadBefore) {
  std::set<std::string> ids;
  for (int i = 0; i < 1000; ++i) ids.insert(randomJobId());
  EXPECT_EQ(ids.size(), 1000U);
  for (const std::string& id : ids)
    EXPECT_THAT(id, MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}"));
}

TEST_F(Jobs, ScansOnePageAtATime) {
  EXPECT_EQ(jobs.post(FakeScanner::ticket()).code, 201U);
  EXPECT_TRUE(jobs.scanning());
  EXPECT_EQ(jobs.post(FakeScanner::ticket()).code, 503U);
  EXPECT_EQ(jobs.reports().size(), 1U);
}

TEST_F(Jobs, ListsTheNewestFirst) {
  const std::string first = scanned();
  const std::string second = scanned();
  const auto reports = jobs.reports();
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[0].id, second);
  EXPECT_EQ(reports[1].id, first);
}

TEST_F(Jobs, RemembersTenFinishedJobs) {
  const std::string first = scanned();
  for (std::size_t i = 1; i < longestHistory; ++i) scanned();
  EXPECT_NE(jobs.find(first), nullptr);
  scanned();
  EXPECT_EQ(jobs.find(first), nullptr);
  EXPECT_EQ(jobs.reports().size(), longestHistory);
}

TEST_F(Jobs, ForgetsAJobFiveMinutesAfterItsLastChange) {
  const std::string id = scanned();
  EXPECT_EQ(jobs.forgetOld(), times::forgotten);
  scanner.advance(times::forgotten - 1ms);
  EXPECT_EQ(jobs.forgetOld(), 1ms);
  scanner.advance(1ms);
  EXPECT_EQ(jobs.find(id), nullptr);
  EXPECT_EQ(jobs.forgetOld(), std::nullopt);
}

TEST_F(Jobs, ReportsTheAgeInSeconds) {
  scanned();
  scanner.advance(2900ms);
  EXPECT_EQ(jobs.reports().front().age, 2s);
}

TEST_F(Jobs, WaitsForTheWorkerOfTheScanBefore) {
  scanner.keepBusy(true);
  scanner.sendPage();
  const auto first = jobs.find(jobs.post(FakeScanner::ticket()).id);
  ASSERT_TRUE(eventually([&] { return first->phase() == JobPhase::ready; }));
  auto second = std::async(std::launch::async, [this] { return jobs.post(FakeScanner::ticket()).code; });
  EXPECT_EQ(second.wait_for(50ms), std::future_status::timeout);
  EXPECT_EQ(scanner.started(), 1);
  scanner.keepBusy(false);
  EXPECT_EQ(second.get(), 201U);
}

TEST_F(Jobs, AcceptsNoneAfterItsEnd) {
  const auto job = jobs.find(jobs.post(FakeScanner::ticket()).id);
  jobs.stop();
  EXPECT_EQ(job->phase(), JobPhase::canceled);
  EXPECT_EQ(scanner.running(), 0);
  EXPECT_EQ(jobs.post(FakeScanner::ticket()).code, 503U);
}

TEST_F(Jobs, LogsEachScanInOneLine) {
  const std::string id = scanned();
  ASSERT_TRUE(eventually([this] { return scanner.log().size() == 1; }));
  EXPECT_THAT(scanner.log().front(),
              MatchesRegex("scan " + id +
                           ": gray, 75 dots per inch, 8 x 64 pixels, png, [0-9]+ bytes, 0 ms: "
                           "The page was scanned\\."));
}

}  // namespace
