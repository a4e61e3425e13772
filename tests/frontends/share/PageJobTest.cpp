#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

#include "FakeScanner.h"
#include "FileSizeLimit.h"
#include "PageJob.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

// Everything from `offset` to the end; "broken" at the end of a page that is never completed.
std::string readAll(PageReader& reader, std::size_t offset = 0) {
  std::string page;
  char buffer[1000];
  while (const auto count = reader.read(offset + page.size(), buffer, sizeof buffer)) {
    if (*count == 0) return page;
    page.append(buffer, *count);
  }
  return "broken";
}

// A client that stays connected, with an action whenever it is checked.
ClientLink asked(const std::function<void()>& happens) {
  return {[happens] { return happens(), false; }, [] { return 0; }};
}

class Job : public testing::Test {
 protected:
  std::shared_ptr<PageJob> post(PictureFormat format = PictureFormat::png) {
    return jobs.find(jobs.post(FakeScanner::ticket(format)).id);
  }
  std::string fetch(const std::shared_ptr<PageJob>& job) {
    PageReader reader(job, stays);
    if (const auto response = reader.begin(); response.code != 200) return response.sentence;
    std::string page = readAll(reader);
    reader.finish();
    return page;
  }

  FakeScanner scanner;
  ScanJobs jobs{scanner.setup()};
};

TEST_F(Job, SendsThePageWhileItGrows) {
  const auto job = post(PictureFormat::jpeg);
  scanner.sendRows(16);
  PageReader reader(job, stays);
  ASSERT_EQ(reader.begin().code, 200U);
  char first[4] = {};
  ASSERT_EQ(reader.read(0, first, sizeof first), 4U);  // the scanner has not sent the rest
  EXPECT_EQ(std::string(first, 2), "\xFF\xD8");
  EXPECT_EQ(job->phase(), JobPhase::processing);
  scanner.sendPage();
  const std::string rest = readAll(reader, 4);
  EXPECT_EQ(rest.substr(rest.size() - 2), "\xFF\xD9");
}

TEST_F(Job, BeginsAPngWithItsFirstRow) {
  const auto job = post();
  scanner.sendRows(1);
  PageReader reader(job, stays);
  ASSERT_EQ(reader.begin().code, 200U);
  char first[4] = {};
  ASSERT_EQ(reader.read(0, first, sizeof first), 4U);
  EXPECT_EQ(std::string(first + 1, 3), "PNG");
}

TEST_F(Job, HoldsTheRequestForAPdfUntilItIsComplete) {
  const auto job = post(PictureFormat::pdf);
  scanner.sendRows(FakeScanner::rows);
  job->awaitStart(10s);
  PageReader reader(job, asked([this] { scanner.end(outcome::good()); }));
  ASSERT_EQ(reader.begin().code, 200U);
  EXPECT_EQ(readAll(reader).substr(0, 5), "%PDF-");
}

TEST_F(Job, SendsTheSameBytesAgainAfterABrokenTransfer) {
  const auto job = post();
  scanner.sendPage();
  ASSERT_TRUE(job->awaitFreeScanner(10s));
  {
    PageReader broken(job, stays);
    ASSERT_EQ(broken.begin().code, 200U);
    char part[50];
    ASSERT_EQ(broken.read(0, part, sizeof part), sizeof part);
  }
  EXPECT_EQ(job->phase(), JobPhase::ready);
  const std::string page = fetch(job);
  EXPECT_EQ(page.size(), job->pageBytes());
  EXPECT_EQ(job->report().retries, 1U);
  EXPECT_TRUE(job->report().delivered);
  EXPECT_EQ(scanner.started(), 1);
  EXPECT_EQ(fetch(job), "The job has no more documents.");
}

TEST_F(Job, IsDeliveredOnceTheClientsSystemHasAcknowledgedThePage) {
  const auto job = post();
  scanner.sendPage();
  ASSERT_TRUE(job->awaitFreeScanner(10s));
  int asked = 0;
  PageReader reader(job, {[] { return false; }, [&asked] { return ++asked == 3 ? 0 : 1; }});
  ASSERT_EQ(reader.begin().code, 200U);
  EXPECT_NE(readAll(reader), "broken");
  EXPECT_EQ(asked, 3);
}

TEST_F(Job, WaitsForASlowNetworkAsLongAsItCarriesSomething) {
  const auto job = post();
  scanner.sendPage();
  ASSERT_TRUE(job->awaitFreeScanner(10s));
  std::size_t bytes = 5;
  const auto carriesAByte = [&] { return scanner.advance(times::acknowledgement - 1ms), --bytes; };
  PageReader reader(job, {[] { return false; }, carriesAByte});
  ASSERT_EQ(reader.begin().code, 200U);
  EXPECT_NE(readAll(reader), "broken");
}

TEST_F(Job, IsKeptIfTheClientLeavesBeforeItsSystemHasAcknowledgedThePage) {
  const auto job = post();
  scanner.sendPage();
  ASSERT_TRUE(job->awaitFreeScanner(10s));
  {
    PageReader reader(job, {[] { return true; }, [] { return 1; }});
    ASSERT_EQ(reader.begin().code, 200U);
    EXPECT_EQ(readAll(reader), "broken");
  }
  EXPECT_EQ(job->phase(), JobPhase::ready);
  EXPECT_EQ(fetch(job).substr(1, 3), "PNG");
}

TEST_F(Job, HasNoMoreDocumentsOnceTheClientLearnsTheEnd) {
  const auto job = post();
  scanner.sendPage();
  PageReader reader(job, stays);
  ASSERT_EQ(reader.begin().code, 200U);
  ASSERT_NE(readAll(reader), "broken");  // whatever follows it on its way to the client
  EXPECT_EQ(fetch(job), "The job has no more documents.");
}

TEST_F(Job, IsKeptIfTheConnectionBreaksAtTheVeryEnd) {
  const auto job = post();
  scanner.sendPage();
  std::string page;
  {
    PageReader reader(job, stays);
    ASSERT_EQ(reader.begin().code, 200U);
    page = readAll(reader);
  }
  EXPECT_EQ(job->phase(), JobPhase::ready);
  EXPECT_EQ(fetch(job), page);
}

TEST_F(Job, GivesUpOnAnAcknowledgementAfterAMinute) {
  const auto job = post();
  scanner.sendPage();
  ASSERT_TRUE(job->awaitFreeScanner(10s));
  PageReader reader(job,
                    {[this] { return scanner.advance(times::acknowledgement), false; }, [] { return 1; }});
  ASSERT_EQ(reader.begin().code, 200U);
  EXPECT_EQ(readAll(reader), "broken");
}

TEST_F(Job, DoesNotCancelForAClientThatIsBackAtOnce) {
  const auto job = post();
  scanner.sendRows(2);
  job->awaitStart(10s);
  {
    PageReader lost(job, stays);
    ASSERT_EQ(lost.begin().code, 200U);
  }
  PageReader again(job, stays);
  scanner.advance(times::longestHold);
  ASSERT_EQ(again.begin().code, 200U);
  scanner.sendPage();
  EXPECT_NE(readAll(again), "broken");
}

TEST_F(Job, EndsAnOpenTransferWhenItIsCancelled) {
  const auto job = post();
  scanner.sendRows(2);
  PageReader reader(job, stays);
  ASSERT_EQ(reader.begin().code, 200U);
  auto page = std::async(std::launch::async, [&] { return readAll(reader); });
  job->remove();
  EXPECT_EQ(page.get(), "broken");
  EXPECT_TRUE(job->awaitFreeScanner(10s));
}

TEST_F(Job, EndsARequestThatIsHeldWhenItIsCancelled) {
  const auto job = post();
  PageReader reader(job, asked([&] { job->remove(); }));
  EXPECT_EQ(reader.begin().code, 410U);
}

TEST_F(Job, AsksAClientToComeBackAfterAWarmUpOfAMinute) {
  const auto job = post();
  {
    PageReader reader(job, asked([this] { scanner.advance(times::longestHold); }));
    EXPECT_EQ(reader.begin().code, 503U);
  }
  EXPECT_EQ(job->phase(), JobPhase::pending);
  PageReader again(job, stays);
  scanner.sendPage();
  EXPECT_EQ(again.begin().code, 200U);
}

TEST_F(Job, IsAbortedInMidPictureAndSaysWhy) {
  const auto job = post();
  scanner.sendRows(2);
  PageReader reader(job, stays);
  ASSERT_EQ(reader.begin().code, 200U);
  scanner.end(outcome::wentAway());
  EXPECT_EQ(readAll(reader), "broken");
  EXPECT_EQ(job->report().state, JobState::aborted);
  EXPECT_EQ(fetch(job), outcome::wentAway().sentence);
}

TEST_F(Job, ThrowsThePageAwayWhenItIsDeleted) {
  const auto job = post();
  scanner.sendPage();
  ASSERT_TRUE(job->awaitFreeScanner(10s));
  PageReader open(job, stays);
  ASSERT_EQ(open.begin().code, 200U);
  job->remove();
  EXPECT_EQ(readAll(open), "broken");
  EXPECT_EQ(fetch(job), "The job has no more documents.");
  EXPECT_EQ(job->report().state, JobState::completed);
}

TEST_F(Job, LeavesNothingOpenAfterIt) {
  post()->cancel();
  EXPECT_TRUE(eventually([this] { return scanner.running() == 0; }));
}

TEST_F(Job, IsAbortedWhereThePageCannotBeStored) {
  const auto job = post(PictureFormat::jpeg);
  const FileSizeLimit disk(100);
  scanner.sendPage();
  EXPECT_THAT(fetch(job), AllOf(StartsWith("The page cannot be stored: "), EndsWith("then scan again.")));
  EXPECT_EQ(job->report().state, JobState::aborted);
  EXPECT_TRUE(eventually([this] { return scanner.running() == 0; }));
}

TEST_F(Job, StoresThePageElsewhereWhereTheChosenFolderDoesNotExist) {
  setenv("TMPDIR", "/proc/self/nowhere", 1);
  const auto job = post();
  unsetenv("TMPDIR");
  scanner.sendPage();
  EXPECT_EQ(fetch(job).substr(1, 3), "PNG");
}

}  // namespace
