#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Golden.h"
#include "ImageInfoDocument.h"
#include "StatusDocument.h"

namespace {

using namespace frontend;
using namespace frontend::share;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

constexpr char id[] = "0b1c2d3e-4f50-4617-8283-94a5b6c7d8e9";

TEST(StatusDocument, OfAnIdleScannerHasAnEmptyListOfJobs) {
  expectGolden("status-idle.xml", statusDocument(ScannerState::idle, {}));
}

TEST(StatusDocument, ListsJobsInTheGivenOrder) {
  const std::vector<JobReport> jobs = {
      {id, JobState::processing, "JobScanning", 2s, false, 0},
      {"11111111-2222-4333-8444-555555555555", JobState::completed, "JobCompletedSuccessfully", 75s, true, 1},
  };
  expectGolden("status-jobs.xml", statusDocument(ScannerState::processing, jobs));
}

TEST(StatusDocument, NamesTheStateOfTheScanner) {
  EXPECT_THAT(statusDocument(ScannerState::down, {}), HasSubstr("<pwg:State>Down</pwg:State>"));
  EXPECT_THAT(statusDocument(ScannerState::processing, {}), HasSubstr("<pwg:State>Processing</pwg:State>"));
}

struct ImagesRow {
  JobState state;
  bool delivered;
  const char* name;
  const char* completed;
  const char* toTransfer;
};

TEST(StatusDocument, CountsImagesByStateAndDelivery) {
  const ImagesRow rows[] = {
      {JobState::pending, false, "Pending", "0", "1"},
      {JobState::processing, false, "Processing", "0", "1"},
      {JobState::completed, false, "Completed", "1", "1"},
      {JobState::completed, true, "Completed", "1", "0"},
      {JobState::canceled, false, "Canceled", "0", "0"},
      {JobState::aborted, false, "Aborted", "0", "0"},
  };
  for (const ImagesRow& row : rows) {
    const std::string document =
        statusDocument(ScannerState::idle, {{id, row.state, "None", 0s, row.delivered, 0}});
    const auto has = [&](const std::string& name, const std::string& text) {
      EXPECT_THAT(document, HasSubstr("<pwg:" + name + ">" + text + "</pwg:" + name + ">")) << row.name;
    };
    has("JobState", row.name);
    has("ImagesCompleted", row.completed);
    has("ImagesToTransfer", row.toTransfer);
  }
}

TEST(StatusDocument, GivesNoReasonsForTheStateOfTheScanner) {
  EXPECT_THAT(statusDocument(ScannerState::down, {}), Not(HasSubstr("StateReasons")));
}

TEST(ImageInfoDocument, HasTheSizeOfThePicture) {
  expectGolden("image-info.xml", imageInfoDocument(id, PictureLayout{2550, 3508, 1, 1, 300}));
}

TEST(JobPath, IsBelowTheRootOfTheProtocol) {
  EXPECT_EQ(jobPath("7"), "/eSCL/ScanJobs/7");
}

}  // namespace
