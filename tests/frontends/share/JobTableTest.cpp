#include <gtest/gtest.h>

#include <array>
#include <string>
#include <tuple>

#include "FakeScanner.h"
#include "JobTable.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;

constexpr std::array<const char*, jobPhaseCount> phaseNames = {"pending", "processing", "ready",
                                                               "spent",   "canceled",   "aborted"};
constexpr std::array<const char*, jobRequestCount> requestNames = {
    "nextDocument", "imageInfo", "remove", "newJob", "status", "clientLeft", "unclaimed"};

std::string nameOf(JobPhase phase) {
  return phaseNames[static_cast<std::size_t>(phase)];
}

// The visible result of each cell: HTTP status codes, states in the words of eSCL, or the next phase.
// clang-format off
const std::array<std::array<std::string, jobPhaseCount>, jobRequestCount> observed = {{
    // pending      processing     ready        spent        canceled    aborted
    {{ "held, 200", "200",         "200",       "404",       "410",      "500" }},
    {{ "404",       "200",         "200",       "200",       "410",      "500" }},
    {{ "canceled",  "canceled",    "spent",     "spent",     "canceled", "aborted" }},
    {{ "503",       "503",         "201",       "201",       "201",      "201" }},
    {{ "Pending",   "Processing",  "Completed", "Completed", "Canceled", "Aborted" }},
    {{ "canceled",  "in a moment", "ready",     "spent",     "canceled", "aborted" }},
    {{ "canceled",  "canceled",    "ready",     "spent",     "canceled", "aborted" }},
}};
// clang-format on

class EveryCell : public testing::TestWithParam<std::tuple<std::size_t, std::size_t>> {
 protected:
  JobPhase phase() const { return static_cast<JobPhase>(std::get<1>(GetParam())); }

  void bringToPhase() {
    job = jobs.find(jobs.post(FakeScanner::ticket()).id);
    if (phase() == JobPhase::processing) scanner.sendRows(2);
    if (phase() == JobPhase::ready || phase() == JobPhase::spent) scanner.sendPage();
    if (phase() == JobPhase::canceled) job->cancel();
    if (phase() == JobPhase::aborted) scanner.end(outcome::garbledStream());
    if (phase() != JobPhase::pending) job->awaitStart(10s);
    if (phase() == JobPhase::spent) {
      ASSERT_TRUE(job->awaitFreeScanner(10s));
      PageReader reader(job, stays);
      ASSERT_EQ(reader.begin().code, 200U);
      reader.finish();
    }
    ASSERT_TRUE(eventually([this] { return job->phase() == phase(); })) << nameOf(job->phase());
  }

  std::string perform(JobRequest request) {
    switch (request) {
      case JobRequest::nextDocument:
        return fetch();
      case JobRequest::imageInfo:
        return std::to_string(job->infoResponse().code);
      case JobRequest::remove:
        job->remove();
        return nameOf(job->phase());
      case JobRequest::newJob:
        return std::to_string(jobs.post(FakeScanner::ticket()).code);
      case JobRequest::status:
        return std::string(jobStateNames[static_cast<std::size_t>(job->report().state)]);
      case JobRequest::clientLeft:
        return fetchAndLeave();
      case JobRequest::unclaimed:
        scanner.advance(times::unclaimed);
        return settled();
    }
    return "";
  }
  std::string fetch() {
    bool held = false;
    const auto sendRow = [this, &held] {
      if (!std::exchange(held, true)) scanner.sendRows(1);
      return false;
    };
    PageReader reader(job, {sendRow, [] { return 0; }});
    const std::string code = std::to_string(reader.begin().code);
    return held ? "held, " + code : code;
  }
  std::string fetchAndLeave() {
    {
      PageReader(job, {[] { return true; }, [] { return 0; }}).begin();
    }
    if (job->phase() != JobPhase::processing) return nameOf(job->phase());
    scanner.advance(times::secondThought);
    return settled() == "canceled" ? "in a moment" : settled();
  }
  // After the thread of the scan, if there is one, has read the clock.
  std::string settled() {
    if (!hasEnded(stateOf(phase()))) job->awaitFreeScanner(10s);
    return nameOf(job->phase());
  }

  FakeScanner scanner;
  ScanJobs jobs{scanner.setup()};
  std::shared_ptr<PageJob> job;
};

TEST_P(EveryCell, DoesWhatTheTableSays) {
  const auto [request, column] = GetParam();
  ASSERT_NO_FATAL_FAILURE(bringToPhase());
  EXPECT_EQ(perform(static_cast<JobRequest>(request)), observed[request][column]);
}

std::string cellName(const testing::TestParamInfo<std::tuple<std::size_t, std::size_t>>& cell) {
  const auto [request, phase] = cell.param;
  return std::string(requestNames[request]) + "_" + phaseNames[phase];
}

INSTANTIATE_TEST_SUITE_P(Job, EveryCell,
                         testing::Combine(testing::Range<std::size_t>(0, jobRequestCount),
                                          testing::Range<std::size_t>(0, jobPhaseCount)),
                         cellName);

}  // namespace
