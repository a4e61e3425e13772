#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "OutputError.h"
#include "OutputFile.h"
#include "TemporaryFolder.h"

namespace {

using frontend::OutputError;
using frontend::OutputFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class Output : public testing::Test {
 protected:
  static void write(OutputFile& file, const std::string& text) {
    ASSERT_EQ(::write(file.descriptor(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  std::string complaintAbout(const std::string& where) {
    try {
      OutputFile::check(where);
      return "";
    } catch (const OutputError& error) {
      return error.what();
    }
  }

  TemporaryFolder folder;
  std::string path = folder / "page.tiff";
};

TEST_F(Output, AppearsUnderItsNameOnlyWhenCommitted) {
  OutputFile file(path);
  write(file, "picture");
  EXPECT_FALSE(std::filesystem::exists(path));
  file.commit();
  EXPECT_EQ(contentOf(path), "picture");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_F(Output, LeavesNothingUnlessCommitted) {
  writeContent(path, "old");
  {
    OutputFile file(path);
    write(file, "half a pict");
    EXPECT_EQ(contentOf(path), "old");
  }
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
  EXPECT_EQ(contentOf(path), "old");
}

TEST_F(Output, HasThePermissionsOfANewFile) {
  const mode_t before = umask(0027);
  OutputFile file(path);
  file.commit();
  umask(before);
  EXPECT_EQ(modeOf(path), 0640U);
}

TEST_F(Output, ReplacesALinkAndDoesNotFollowIt) {
  writeContent(folder / "precious", "untouched");
  std::filesystem::create_symlink(folder / "precious", path);
  OutputFile::check(path);
  OutputFile file(path);
  write(file, "picture");
  file.commit();
  EXPECT_FALSE(isLink(path));
  EXPECT_EQ(contentOf(path), "picture");
  EXPECT_EQ(contentOf(folder / "precious"), "untouched");
}

TEST_F(Output, TakesNamesAsLongAsNamesCanBe) {
  const std::string longest = folder / (std::string(250, 'n') + ".tiff");
  OutputFile file(longest);
  file.commit();
  EXPECT_TRUE(std::filesystem::exists(longest));
  EXPECT_THAT(complaintAbout(folder / (std::string(251, 'n') + ".tiff")), HasSubstr("File name too long"));
}

TEST_F(Output, ReportsThatItCannotBeCommitted) {
  OutputFile file(path);
  std::filesystem::create_directory(path);
  EXPECT_THROW(file.commit(), OutputError);
}

TEST_F(Output, LeavesNothingWhenItCannotBeCommitted) {
  {
    OutputFile file(path);
    std::filesystem::create_directory(path);
    EXPECT_THROW(file.commit(), OutputError);
  }
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_F(Output, CheckLeavesNothingBehind) {
  EXPECT_EQ(complaintAbout(path), "");
  EXPECT_THAT(folder.names(), IsEmpty());
  writeContent(path, "old");
  EXPECT_EQ(complaintAbout(path), "");
  EXPECT_EQ(contentOf(path), "old");
}

TEST_F(Output, CheckReturnsWhetherThereIsAFileToReplace) {
  EXPECT_FALSE(OutputFile::check(path));
  std::filesystem::create_symlink("nowhere", path);
  EXPECT_TRUE(OutputFile::check(path));
}

TEST_F(Output, CheckRejectsPlacesWhereNoPictureCanGo) {
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  writeContent(folder / "file", "");
  const struct {
    std::string path;
    std::string complaint;
  } cases[] = {
      {folder.path().string(), "this is a folder. Give the name of a file in it."},
      {folder / "new/", "this is a folder."},
      {folder / "missing/page.tiff", "the folder " + (folder / "missing") + " does not exist."},
      {folder / "file/page.tiff", "Not a directory"},
      {pipe, "this is not a regular file and will not be replaced."},
      {"/dev/null", "this is not a regular file and will not be replaced."},
      {"", "this is a folder."},
  };
  for (const auto& one : cases) {
    EXPECT_THAT(complaintAbout(one.path), HasSubstr(one.complaint)) << one.path;
  }
}

TEST_F(Output, CheckRejectsAFolderWithoutWritePermission) {
  EXPECT_THAT(complaintAbout("/proc/page.tiff"), testing::Not(IsEmpty()));
}

}  // namespace
