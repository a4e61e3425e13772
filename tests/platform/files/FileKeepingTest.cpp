#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "FileKeeping.h"
#include "GrowingFile.h"
#include "ReplaceFile.h"
#include "SystemCalls.h"
#include "TemporaryFolder.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class FileKeeping : public testing::Test {
 protected:
  ~FileKeeping() override { platform::keepFiles(true); }

  TemporaryFolder folder;
  const std::string name = folder / "dump";
};

TEST_F(FileKeeping, IsWhatAProcessDoesUnlessItIsToldOtherwise) {
  EXPECT_TRUE(platform::filesAreKept());
}

TEST_F(FileKeeping, LeavesNoFileAndNoPrivateOneWhereItIsNotWanted) {
  platform::keepFiles(false);
  EXPECT_FALSE(replaceFile(name, "page", 4));
  platform::GrowingFile growing(name);
  const platform::DataRef data(platform::Data::create());
  data->append("page", 4);
  EXPECT_FALSE(growing.update(*data));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(FileKeeping, LeavesWhatStoodThereBefore) {
  ASSERT_TRUE(replaceFile(name, "old", 3));
  platform::keepFiles(false);
  EXPECT_FALSE(replaceFile(name, "new page", 8));
  EXPECT_EQ(contentOf(name), "old");
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(FileKeeping, BeginsAgainWhenItIsWantedAgain) {
  platform::keepFiles(false);
  EXPECT_FALSE(replaceFile(name, "page", 4));
  platform::keepFiles(true);
  EXPECT_TRUE(replaceFile(name, "page", 4));
  EXPECT_EQ(contentOf(name), "page");
}

}  // namespace
