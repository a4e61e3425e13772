#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "FakeScanner.h"
#include "OutcomeCode.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;

struct Expected {
  const char* name;
  ScanOutcome outcome;
  unsigned post;
  unsigned fetch;
  std::string state;
  std::string reason;
};

void PrintTo(const Expected& expected, std::ostream* out) {
  *out << expected.name;
}

const Expected table[] = {
    {"cancelled", outcome::cancelled(), 201, 410, "Canceled", "JobCanceledByUser"},
    {"noDevice", outcome::noScanner(), 503, 500, "Aborted", "ServiceOffLine"},
    {"busy", outcome::busy(), 503, 500, "Aborted", "ResourcesAreNotReady"},
    {"accessDenied", outcome::accessDenied(), 503, 500, "Aborted", "ServiceOffLine"},
    {"timedOut", outcome::silent(1000), 201, 500, "Aborted", "AbortedBySystem"},
    {"badData", outcome::garbledStream(), 201, 500, "Aborted", "ErrorsDetected"},
    {"ioError", outcome::workerDied("it died"), 201, 500, "Aborted", "ErrorsDetected"},
    {"refused", outcome::refused("tired"), 201, 500, "Aborted", "AbortedBySystem"},
    {"noMemory", outcome::noMemory(), 201, 500, "Aborted", "AbortedBySystem"},
};

class EveryOutcome : public testing::TestWithParam<Expected> {
 protected:
  ScanJobsSetup patient() {
    ScanJobsSetup setup = scanner.setup();
    setup.earlyFailure = 10s;
    return setup;
  }
  FakeScanner scanner;
};

TEST_P(EveryOutcome, HasItsCodeWhenItIsKnownAtOnce) {
  ScanJobs jobs(patient());
  scanner.end(GetParam().outcome);
  const ScanJobs::Posted posted = jobs.post(FakeScanner::ticket());
  EXPECT_EQ(posted.code, GetParam().post);
  EXPECT_EQ(posted.sentence, posted.code == 201 ? "" : GetParam().outcome.sentence);
  EXPECT_EQ(jobs.reports().size(), posted.code == 201 ? 1U : 0U);
}

TEST_P(EveryOutcome, HasItsCodeAndStateWhenItIsKnownLater) {
  ScanJobs jobs(scanner.setup());
  const auto job = jobs.find(jobs.post(FakeScanner::ticket()).id);
  ASSERT_NE(job, nullptr);
  scanner.end(GetParam().outcome);
  PageReader reader(job, stays);
  const PlainResponse response = reader.begin();
  EXPECT_EQ(response.code, GetParam().fetch);
  EXPECT_EQ(response.sentence, GetParam().outcome.sentence);
  EXPECT_EQ(jobStateNames[static_cast<std::size_t>(job->report().state)], GetParam().state);
  EXPECT_EQ(job->report().reason, GetParam().reason);
}

INSTANTIATE_TEST_SUITE_P(Scan, EveryOutcome, testing::ValuesIn(table),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(OutcomeCodes, AreInTheOrderOfTheOutcomes) {
  for (std::size_t i = 0; i < outcomeCodes.size(); ++i)
    EXPECT_EQ(static_cast<std::size_t>(outcomeCodes[i].status), i);
}

}  // namespace
