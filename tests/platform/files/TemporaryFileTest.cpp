#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>

#include "SystemCalls.h"
#include "TemporaryFile.h"
#include "TemporaryFolder.h"

using platform::TemporaryFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class TemporaryFileTest : public testing::Test {
 protected:
  TemporaryFolder folder;
  const std::string target = folder / "page.tiff";
};

TEST_F(TemporaryFileTest, StandsBesideItsTargetUntilItTakesItsPlace) {
  TemporaryFile file(target);
  ASSERT_TRUE(file.isOpen());
  EXPECT_EQ(std::filesystem::path(file.path()).parent_path(), folder.path());
  EXPECT_EQ(modeOf(file.path()), 0600U);
  EXPECT_TRUE(file.writeAt(0, "page", 4));
  EXPECT_TRUE(file.replaceTarget());
  EXPECT_EQ(file.path(), target);
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_F(TemporaryFileTest, GoesAwayWithItsObject) {
  { const TemporaryFile file(target); }
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(TemporaryFileTest, MovesWithoutLosingItsFile) {
  TemporaryFile first(target);
  TemporaryFile second(std::move(first));
  TemporaryFile third;
  third = std::move(second);
  EXPECT_THAT(folder.names(), SizeIs(1));
  EXPECT_TRUE(third.writeAt(0, "x", 1));
  EXPECT_TRUE(third.replaceTarget());
  EXPECT_EQ(contentOf(target), "x");
}

TEST_F(TemporaryFileTest, LeavesOneThatIsInUseAlone) {
  TemporaryFile first(target);
  TemporaryFile second(target);
  EXPECT_TRUE(second.isOpen());
  EXPECT_NE(first.path(), second.path());
  EXPECT_THAT(folder.names(), SizeIs(2));
}

TEST_F(TemporaryFileTest, LeavesNothingOfAnotherProcessThatGotInBetweenWhenItExchanges) {
  TemporaryFile named(target);
  ASSERT_TRUE(named.replaceTarget());
  TemporaryFile others(target);
  ASSERT_TRUE(others.replaceTarget());
  TemporaryFile spare(target);
  ASSERT_TRUE(spare.exchangeWith(named));
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_F(TemporaryFileTest, DoesNotRemoveWhatSomebodyElsePutUnderItsName) {
  std::string path;
  {
    const TemporaryFile file(target);
    path = file.path();
    std::filesystem::remove(path);
    writeContent(path, "theirs");
  }
  EXPECT_EQ(contentOf(path), "theirs");
}

TEST_F(TemporaryFileTest, TellsHowFarAWriteCameOnAFullDisk) {
  SystemCalls calls;
  calls.room = 3;
  TemporaryFile file(target);
  std::size_t written = 0;
  EXPECT_FALSE(file.writeAt(0, "page", 4, &written));
  EXPECT_EQ(written, 3U);
}

TEST_F(TemporaryFileTest, FailsEveryOperationWithoutAFile) {
  TemporaryFile none;
  TemporaryFile other(target);
  std::size_t written = 1;
  EXPECT_FALSE(none.isOpen());
  EXPECT_FALSE(none.writeAt(0, "x", 1, &written));
  EXPECT_EQ(written, 0U);
  EXPECT_FALSE(none.writeAt(0, nullptr, 0));
  EXPECT_FALSE(none.replaceTarget());
  EXPECT_FALSE(none.exchangeWith(other));
  none.leave();
  EXPECT_FALSE(none.isAsLeft());
}

TEST_F(TemporaryFileTest, TradesPlacesWithTheOneInPlace) {
  TemporaryFile first(target);
  first.writeAt(0, "first", 5);
  first.replaceTarget();
  TemporaryFile second(target);
  second.writeAt(0, "second", 6);
  const std::string privatePath = second.path();
  ASSERT_TRUE(second.exchangeWith(first));
  EXPECT_EQ(contentOf(target), "second");
  EXPECT_EQ(second.path(), target);
  EXPECT_EQ(contentOf(privatePath), "first");
  EXPECT_EQ(first.path(), privatePath);
}

TEST_F(TemporaryFileTest, TradesNothingWhereTheFileSystemCannot) {
  SystemCalls calls;
  calls.canExchange = false;
  TemporaryFile first(target);
  first.replaceTarget();
  TemporaryFile second(target);
  const std::string privatePath = second.path();
  EXPECT_FALSE(second.exchangeWith(first));
  EXPECT_EQ(second.path(), privatePath);
  EXPECT_EQ(first.path(), target);
}

TEST_F(TemporaryFileTest, IsAsLeftUntilSomebodyTouchesIt) {
  TemporaryFile file(target);
  EXPECT_FALSE(file.isAsLeft());
  file.leave();
  EXPECT_TRUE(file.isAsLeft());
  std::filesystem::resize_file(file.path(), 10);
  EXPECT_FALSE(file.isAsLeft());
}

}  // namespace
