#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <string>
#include <vector>

#include "ApartProcess.h"
#include "Cancellation.h"
#include "MallocFaults.h"
#include "PictureFile.h"
#include "ScanPlan.h"
#include "TemporaryFolder.h"

namespace {

using namespace frontend;

constexpr PictureLayout layout{40, 30, 3, 8, 300};

// A document of two complete pages that is saved while allocations fail.
class SavingPages : public testing::Test {
 protected:
  SavedFile save(PictureFormat format, MallocFaults (*faultsAt)(int), int n) {
    ScanPlan plan;
    plan.format = format;
    plan.pictureSettings.multiPage = true;
    PictureFile file(plan, path, -1, cancellation, nullptr);
    const std::vector<std::uint8_t> page(static_cast<std::size_t>(layout.bytes()), 99);
    for (int i = 0; i < 2; ++i) {
      file.beginPage(layout, false);
      file.write(page.data(), page.size());
      file.endPage();
    }
    const MallocFaults faults = faultsAt(n);
    SavedFile saved = file.save(ExistingFile::replace);
    failed = faults.happened();
    return saved;
  }

  TemporaryFolder folder;
  std::string path = folder / "document-with-a-long-name";
  Cancellation cancellation;
  bool failed = false;
};

TEST_F(SavingPages, OfATiffTakesNoMemory) {
  const SavedFile saved = save(PictureFormat::tiff, MallocFaults::from, 1);
  EXPECT_EQ(saved.pages, 2U);
  EXPECT_EQ(saved.path, path);
  EXPECT_FALSE(saved.noMemory);
  EXPECT_NE(contentOf(path), "");
}

TEST_F(SavingPages, OfAPdfSurvivesEveryAllocationThatFails) {
  const SavedFile reference = save(PictureFormat::pdf, MallocFaults::nth, 1 << 30);
  const std::string whole = contentOf(path);
  failed = true;
  for (int n = 1; failed; n += 3) {
    const SavedFile saved = save(PictureFormat::pdf, MallocFaults::nth, n);
    EXPECT_EQ(saved.pages, 2U) << n;
    EXPECT_EQ(saved.problem, "") << n;
    EXPECT_FALSE(saved.noMemory) << n;
    ASSERT_TRUE(contentOf(path) == whole) << n;
  }
}

TEST_F(SavingPages, OfAPdfWithoutMemoryIsReportedWithoutMemory) {
  const SavedFile saved = save(PictureFormat::pdf, MallocFaults::from, 1);
  EXPECT_EQ(saved.pages, failed ? 0U : 2U);  // none fails under a sanitizer
  EXPECT_EQ(saved.noMemory, failed);
  EXPECT_EQ(folder.names().size(), saved.pages > 0 ? 1U : 0U);
}

constexpr int endedStatus = 200;

std::optional<int> resultOf(const std::function<int()>& work) {
  return platform::runApart(work, endedStatus, [] { return false; });
}

TEST(WorkThatRunsApart, ReturnsItsResult) {
  EXPECT_EQ(resultOf([] { return 0; }), 0);
  EXPECT_EQ(resultOf([] { return 12; }), 12);
}

TEST(WorkThatRunsApart, EndsNothingElse) {
  EXPECT_EQ(resultOf([]() -> int { std::terminate(); }), endedStatus);
  EXPECT_EQ(resultOf([]() -> int { return raise(SIGKILL); }), endedStatus);
}

}  // namespace
