#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "ReplaceFile.h"
#include "SystemCalls.h"
#include "TemporaryFolder.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ReplaceFile : public testing::Test {
 protected:
  bool replaceWith(const std::string& content) { return replaceFile(name, content.data(), content.size()); }

  TemporaryFolder folder;
  const std::string name = folder / "dump";
  // The path of a temporary for `name`, unless that is taken.
  const std::string privateName = folder / (".dump.q750-" + std::to_string(geteuid()));
};

TEST_F(ReplaceFile, MakesTheFileHoldExactlyTheBytes) {
  writeContent(name, "a longer text that was there before");
  EXPECT_TRUE(replaceWith("new"));
  EXPECT_EQ(contentOf(name), "new");
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(ReplaceFile, MakesAnEmptyFileOfNoBytes) {
  EXPECT_TRUE(replaceFile(name, nullptr, 0));
  EXPECT_TRUE(std::filesystem::exists(name));
  EXPECT_EQ(contentOf(name), "");
}

TEST_F(ReplaceFile, KeepsTheFilePrivateWhateverTheMask) {
  const mode_t mask = umask(0);
  EXPECT_TRUE(replaceWith("private"));
  umask(mask);
  EXPECT_EQ(modeOf(name), 0600U);
}

TEST_F(ReplaceFile, ReplacesALinkUnderTheNameInsteadOfFollowingIt) {
  writeContent(folder / "precious", "precious");
  std::filesystem::create_symlink(folder / "precious", name);
  EXPECT_TRUE(replaceWith("new"));
  EXPECT_FALSE(isLink(name));
  EXPECT_EQ(contentOf(name), "new");
  EXPECT_EQ(contentOf(folder / "precious"), "precious");
}

TEST_F(ReplaceFile, FollowsNoLinkUnderThePrivateName) {
  writeContent(folder / "precious", "precious");
  std::filesystem::create_symlink(folder / "precious", privateName);
  EXPECT_TRUE(replaceWith("new"));
  EXPECT_EQ(contentOf(name), "new");
  EXPECT_EQ(contentOf(folder / "precious"), "precious");
  EXPECT_TRUE(isLink(privateName));
}

TEST_F(ReplaceFile, RemovesWhatACrashedRunLeftBehind) {
  writeContent(privateName, "half a dump");
  EXPECT_TRUE(replaceWith("new"));
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(ReplaceFile, SurvivesInterruptedAndShortWrites) {
  SystemCalls calls;
  calls.interruptions = 3;
  calls.longestWrite = 2;
  EXPECT_TRUE(replaceWith("seven b"));
  EXPECT_EQ(contentOf(name), "seven b");
  EXPECT_EQ(calls.writes, 4);
}

TEST_F(ReplaceFile, KeepsTheOldFileAndLeavesNoTemporaryOnAFullDisk) {
  writeContent(name, "old");
  SystemCalls calls;
  calls.room = 5;
  EXPECT_FALSE(replaceWith("too long"));
  EXPECT_EQ(contentOf(name), "old");
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(ReplaceFile, LeavesNoTemporaryWhereTheNameCannotBeReplaced) {
  std::filesystem::create_directory(name);
  EXPECT_FALSE(replaceWith("new"));
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

TEST_F(ReplaceFile, FailsInAFolderThatDoesNotExist) {
  EXPECT_FALSE(replaceFile(folder / "nowhere/dump", "x", 1));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(ReplaceFile, TakesANameAsLongAsTheSystemAllows) {
  const std::string longName = folder / std::string(255, 'n');
  EXPECT_TRUE(replaceFile(longName, "x", 1));
  EXPECT_EQ(contentOf(longName), "x");
}

// While it exists, the file system is accessed as another user. For root only.
class OtherUser {
 public:
  OtherUser() : isOther(seteuid(65534) == 0) {}
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;
  ~OtherUser() {
    if (isOther && seteuid(0) != 0) ADD_FAILURE() << "the own rights did not come back";
  }
  const bool isOther;
};

TEST_F(ReplaceFile, FailsOnANameOwnedByAnotherUserInAStickyFolder) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a file of another user";
  std::filesystem::permissions(folder.path(), std::filesystem::perms(01777));
  writeContent(name, "theirs");
  const OtherUser user;
  ASSERT_TRUE(user.isOther);
  EXPECT_FALSE(replaceWith("mine"));
  EXPECT_EQ(contentOf(name), "theirs");
  EXPECT_THAT(folder.names(), ElementsAre("dump"));
}

}  // namespace
