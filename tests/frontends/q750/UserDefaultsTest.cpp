#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "CommandError.h"
#include "TemporaryFolder.h"
#include "UserDefaults.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

std::string complaintAbout(const std::string& text) {
  try {
    parseUserDefaults(text, "config");
    return "none";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(UserDefaults, AreTheSettingsOfTheFile) {
  const UserDefaults defaults = parseUserDefaults(
      "# For drafts.\n\n\tresolution=150\r\n  mode = Gray  # as sent\ndevice = usb:1-2.3", "config");
  EXPECT_THAT(defaults.values,
              ElementsAre(Pair("resolution", "150"), Pair("mode", "Gray"), Pair("device", "usb:1-2.3")));
  EXPECT_EQ(defaults.path, "config");
  EXPECT_EQ(defaults.valueOr("mode", "color"), "Gray");
  EXPECT_EQ(defaults.valueOr("paper", "a4"), "a4");
}

TEST(UserDefaults, TakeEveryNameWithTheValuesOfItsOption) {
  EXPECT_EQ(complaintAbout("device = virtual\nresolution = 600\nmode = lineart\nthreshold = 40%\n"
                           "brightness = -100\ncontrast = 100\ngamma = 2.20\npaper = A5-Landscape\n"
                           "rotate = 90\nquality = lossless\nprogress = Plain\ntimeout = 2.5\n"),
            "none");
  EXPECT_EQ(userDefaultNames().size(), 12U);
}

TEST(UserDefaults, ReportFileAndLineOfAnError) {
  const std::pair<const char*, const char*> cases[] = {
      {"\n# x\nresolution = 301",
       "config:3: resolution = 301: not supported by the scanner. Choose 75, 150, 200, 300, 400 or 600 dots "
       "per inch."},
      {"mode = sepia", "config:1: mode = sepia: unknown mode. Choose color, gray or lineart."},
      {"mode =", "config:1: mode =: unknown mode. Choose color, gray or lineart."},
      {"resolutoin = 300", "config:1: resolutoin = 300: unknown setting. Did you mean resolution?"},
      {"output = a.png", "config:1: output = a.png: unknown setting. Choose device, resolution, mode, "},
      {"pages = 3", "config:1: pages = 3: unknown setting. "},
      {"resolution 300", "config:1: resolution 300: expected NAME = VALUE."},
      {"= 300", "config:1: = 300: expected NAME = VALUE."},
      {"mode = gray\nmode = color", "config:2: mode = color: set before, to gray. Remove one of the lines."},
      {"threshold = 256", "config:1: threshold = 256: expected a grey level from 0 to 255"},
      {"gamma = 0", "config:1: gamma = 0: expected a number from 0.10 to 5.00"},
      {"timeout = 0", "config:1: timeout = 0: expected seconds from 0.1 to 86400"},
      {"quality = 0", "config:1: quality = 0: expected a number from 1 to 100, or lossless for PDF."},
      {"progress = dots", "config:1: progress = dots: unknown style."},
      {"paper = a3", "config:1: paper = a3: unknown paper."},
      {"rotate = 45", "config:1: rotate = 45: pages can be turned by quarter turns only."},
      {"device = flatbed", "config:1: device = flatbed: this is not the name of a scanner. See q750 list."},
      {"mode = \x1b[2J\xff", "config:1: mode = ?[2J?: unknown mode."},
  };
  for (const auto& [text, complaint] : cases) EXPECT_THAT(complaintAbout(text), HasSubstr(complaint)) << text;
}

// The folder that the environment names.
class UserDefaultsFile : public testing::Test {
 protected:
  UserDefaultsFile() {
    std::filesystem::create_directories(folder / "q750");
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
  }
  ~UserDefaultsFile() override { unsetenv("XDG_CONFIG_HOME"); }

  std::string complaint() {
    try {
      readUserDefaults();
      return "none";
    } catch (const UsageError& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, path.size() + 1), path + ":");
      return std::string(error.what()).substr(path.size() + 1);
    }
  }

  TemporaryFolder folder;
  std::string path = folder / "q750/config";
};

TEST_F(UserDefaultsFile, IsReadFromTheFolderOfTheEnvironment) {
  writeContent(path, "mode = gray\n");
  EXPECT_THAT(readUserDefaults().values, ElementsAre(Pair("mode", "gray")));
  EXPECT_EQ(readUserDefaults().path, path);
}

TEST_F(UserDefaultsFile, IsBelowTheHomeFolderOtherwise) {
  const std::string home = std::getenv("HOME") == nullptr ? "" : std::getenv("HOME");
  std::filesystem::create_directories(folder / ".config/q750");
  writeContent(folder / ".config/q750/config", "mode = lineart\n");
  setenv("HOME", folder.path().c_str(), 1);
  for (const char* ignored : {"", "relative"}) {
    setenv("XDG_CONFIG_HOME", ignored, 1);
    EXPECT_EQ(readUserDefaults().valueOr("mode", ""), "lineart") << ignored;
  }
  unsetenv("HOME");
  EXPECT_THAT(readUserDefaults().values, IsEmpty());
  if (!home.empty()) setenv("HOME", home.c_str(), 1);
}

TEST_F(UserDefaultsFile, MayBeMissing) {
  EXPECT_THAT(readUserDefaults().values, IsEmpty());
  setenv("XDG_CONFIG_HOME", "/dev/null", 1);  // nor can there be a folder in it
  EXPECT_THAT(readUserDefaults().values, IsEmpty());
}

TEST_F(UserDefaultsFile, IsRefusedUnlessItIsARegularFile) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(complaint(), " this is not a regular file.");
  std::filesystem::remove(path);
  std::filesystem::create_symlink("/dev/zero", path);
  EXPECT_EQ(complaint(), " this is not a regular file.");
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  EXPECT_EQ(complaint(), " this is not a regular file.");
}

TEST_F(UserDefaultsFile, IsRefusedIfItCannotBeRead) {
  std::filesystem::create_symlink("config", path);
  EXPECT_EQ(complaint(), " cannot be read: Too many levels of symbolic links.");
}

TEST_F(UserDefaultsFile, HasALimitedSize) {
  writeContent(path, std::string(65536, '\n'));
  EXPECT_EQ(complaint(), "none");
  writeContent(path, std::string(65537, '\n'));
  EXPECT_EQ(complaint(), " the file is larger than 65536 bytes.");
}

}  // namespace
