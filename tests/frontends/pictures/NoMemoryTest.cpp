#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "ColorProfile.h"
#include "Group4Encoder.h"
#include "MallocFaults.h"
#include "OutputFile.h"
#include "PictureWriter.h"
#include "TemporaryFolder.h"

namespace {

using namespace frontend;

constexpr PictureLayout layout{37, 29, 3, 8, 300};
constexpr PictureFormat documents[] = {PictureFormat::tiff, PictureFormat::pdf};

void writePage(PictureWriter& writer) {
  const std::vector<std::uint8_t> row(layout.rowBytes(), 99);
  writer.beginPage(layout);
  for (std::uint32_t i = 0; i < layout.height; ++i) writer.writeRow(row.data());
  writer.endPage();
}

// The second page of a document while allocations fail.
class NoMemory : public testing::Test {
 protected:
  void SetUp() override {
    if (!MallocFaults::arePossible()) GTEST_SKIP() << "the sanitizer has an allocator of its own";
  }

  // Returns whether an allocation failed.
  bool writeDocument(PictureFormat format, MallocFaults (*faultsAt)(int), int n) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ByteSink sink(descriptor);
    const auto writer = makePictureWriter(format, sink, {.software = "q750", .multiPage = true});
    writePage(*writer);
    const bool failed = writeFailingPage(*writer, sink, faultsAt, n);
    writer->finish();
    EXPECT_TRUE(sink.good()) << sink.failure();
    close(descriptor);
    return failed;
  }
  bool writeFailingPage(PictureWriter& writer, ByteSink& sink, MallocFaults (*faultsAt)(int), int n) {
    const MallocFaults faults = faultsAt(n);
    bool abandoned = true;
    try {
      writePage(writer);
      abandoned = !sink.good();
      EXPECT_EQ(sink.outOfMemory(), abandoned) << n << " " << sink.failure();
    } catch (const std::bad_alloc&) {
    }
    if (!faults.happened()) return false;
    sink.recover();
    if (abandoned) writer.abandonPage();
    complete = abandoned ? 1 : 2;
    return true;
  }
  std::string document(PictureFormat format, int pages) {
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
    ByteSink sink(descriptor);
    const auto writer = makePictureWriter(format, sink, {.software = "q750", .multiPage = true});
    while (pages-- > 0) writePage(*writer);
    writer->finish();
    close(descriptor);
    return contentOf(path);
  }

  TemporaryFolder folder;
  std::string path = folder / "document";
  int complete = 0;
};

TEST_F(NoMemory, LeavesThePagesBefore) {
  for (const PictureFormat format : documents) {
    const std::string whole[] = {"", document(format, 1), document(format, 2)};
    for (const auto faultsAt : {MallocFaults::nth, MallocFaults::from}) {
      for (int n = 1; writeDocument(format, faultsAt, n); ++n)
        ASSERT_TRUE(contentOf(path) == whole[complete]) << static_cast<int>(format) << " " << n;
    }
  }
}

TEST_F(NoMemory, CostsAPdfOnePageAtATime) {
  const std::string twoPages = document(PictureFormat::pdf, 2);
  const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
  ByteSink sink(descriptor);
  const auto writer = makePictureWriter(PictureFormat::pdf, sink, {.software = "q750"});
  for (int page = 0; page < 3; ++page) writePage(*writer);
  EXPECT_EQ(writer->shrink(Shortage::memory), 2U);  // with nothing on the disk that could be a bound
  writer->finish();
  close(descriptor);
  EXPECT_EQ(contentOf(path), twoPages);
}

TEST_F(NoMemory, IsReportedByTheEncoderOfLineart) {
  constexpr PictureLayout lineart{72, 3, 1, 1, 75};
  const std::vector<std::uint8_t> row(lineart.rowBytes(), 0x5A);
  bool failed = true;
  for (int n = 1; failed; ++n) {
    const MallocFaults faults = MallocFaults::nth(n);
    try {
      Group4Encoder encoder(lineart);
      for (std::uint32_t i = 0; i < lineart.height; ++i) encoder.writeRow(row.data());
      EXPECT_NE(encoder.finish(), "");
    } catch (const std::exception&) {
      EXPECT_TRUE(faults.happened()) << n;
    }
    failed = faults.happened();
  }
}

// In a separate program: a profile is created once per process.
TEST(NoMemoryDeathTest, LeavesTheColorProfileForLater) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto makeProfiles = [] {
    bool failed = true;
    for (int n = 1; failed; ++n) {
      const MallocFaults faults = MallocFaults::from(n);
      try {
        colorProfileOf(layout);
      } catch (const std::bad_alloc&) {
      }
      failed = faults.happened();
    }
    std::exit(colorProfileOf(layout).empty() ? 1 : 0);
  };
  EXPECT_EXIT(makeProfiles(), testing::ExitedWithCode(0), "");
}

TEST_F(NoMemory, KeepsNoFileFromItsName) {
  for (const std::string old : {"", "old"}) {
    if (!old.empty()) writeContent(path, old);
    OutputFile file(path);
    ASSERT_EQ(write(file.descriptor(), "new", 3), 3);
    const MallocFaults faults = MallocFaults::from(1);
    file.commit();
    EXPECT_FALSE(faults.happened());
  }
  EXPECT_EQ(contentOf(path), "new");
}

TEST_F(NoMemory, KeepsNoFileFromAnotherNameWhereItsOwnIsTaken) {
  writeContent(path, "of another process");
  OutputFile file(path);
  std::string kept;
  {
    const MallocFaults faults = MallocFaults::from(1);
    EXPECT_THROW(file.commit(ExistingFile::keep), std::bad_alloc);
    kept = file.keep();
  }
  EXPECT_EQ(contentOf(kept), "");
}

}  // namespace
