#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "DebugOutput.h"
#include "Privileges.h"
#include "QuenvarConfig.h"
#include "TemporaryFolder.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

TEST(QuenvarConfig, OfAnEmptyTextHasNoVirtualScannerAndHalfAMinutesPatience) {
  const QuenvarConfig config = QuenvarConfig::parse("");
  EXPECT_FALSE(config.virtualScanner);
  EXPECT_EQ(config.timeout, 30s);
  EXPECT_THAT(config.complaints, IsEmpty());
}

TEST(QuenvarConfig, TakesEverySetting) {
  const QuenvarConfig config = QuenvarConfig::parse(
      "# comment\n\n virtual on\ntimeout\t7.5 \r\nvirtual-paper /a folder/page.png\nvirtual-fault stall@7\n"
      "virtual-fault silence\nvirtual-warm-up 250\nvirtual-speed 1000000\nvirtual-real-time on");
  EXPECT_THAT(config.complaints, IsEmpty());
  EXPECT_TRUE(config.virtualScanner);
  EXPECT_EQ(config.timeout, 7500ms);
  EXPECT_EQ(config.virtualOptions.paper, "/a folder/page.png");
  EXPECT_THAT(config.virtualOptions.faults, ElementsAre("stall@7", "silence"));
  EXPECT_EQ(config.virtualOptions.warmUpMs, 250U);
  EXPECT_EQ(config.virtualOptions.bytesPerSecond, 1000000U);
  EXPECT_TRUE(config.virtualOptions.realTime);
}

TEST(QuenvarConfig, ComplainsOfALineThatSaysNothingAndGoesOn) {
  for (const char* line :
       {"virtual maybe", "virtual", "timeout 0", "timeout 0.09", "timeout 86400.1", "timeout ten",
        "timeout nan", "timeout 5s", "timeout -1", "virtual-warm-up 3600001", "timeout", "virtual-paper",
        "virtual-fault", "virtual-speed 4294967296", "nonsense", "Virtual on"}) {
    const QuenvarConfig config = QuenvarConfig::parse("# first\n" + std::string(line) + "\nvirtual on\n");
    EXPECT_THAT(
        config.complaints,
        ElementsAre("quenvar.conf, line 2 ignored: unknown setting or invalid value: " + std::string(line)));
    EXPECT_TRUE(config.virtualScanner) << line;
    EXPECT_EQ(config.timeout, 30s) << line;
  }
}

TEST(QuenvarConfig, IsLookedForWhereTheEnvironmentSays) {
  EXPECT_THAT(QuenvarConfig::folders("/a:/b"), ElementsAre("/a", "/b"));
  EXPECT_THAT(QuenvarConfig::folders("/a"), ElementsAre("/a"));
}

TEST(QuenvarConfig, IsLookedForInTheUsualFoldersToo) {
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_THAT(QuenvarConfig::folders(none), ElementsAre(".", testing::EndsWith("/sane.d")));
  }
  EXPECT_THAT(QuenvarConfig::folders("/a:"), ElementsAre("/a", ".", testing::EndsWith("/sane.d")));
}

TEST(QuenvarConfig, ComplainsInPlainAscii) {
  EXPECT_THAT(QuenvarConfig::parse("\x1b[2J\xff").complaints,
              ElementsAre("quenvar.conf, line 1 ignored: unknown setting or invalid value: ?[2J?"));
}

// Two folders, of which the second one has a good file.
class QuenvarConfigFile : public testing::Test {
 protected:
  QuenvarConfigFile() {
    std::filesystem::create_directories(folder / "good");
    writeContent(folder / "good/quenvar.conf", "timeout 7\n");
  }
  ~QuenvarConfigFile() override { unsetenv("SANE_CONFIG_DIR"); }
  // The settings of the good file, with this complaint of the first one.
  void expectIgnored(const std::string& why) const {
    const QuenvarConfig config = QuenvarConfig::loadFrom({folder.path(), folder / "good"});
    EXPECT_EQ(config.timeout, 7s) << why;
    EXPECT_THAT(config.complaints, ElementsAre(path + " ignored: " + why));
  }

  TemporaryFolder folder;
  std::string path = folder / "quenvar.conf";
};

TEST_F(QuenvarConfigFile, IsTheFirstOneThatThereIs) {
  EXPECT_EQ(QuenvarConfig::loadFrom({folder.path(), folder / "good"}).timeout, 7s);
  writeContent(path, "timeout 8\n");
  EXPECT_EQ(QuenvarConfig::loadFrom({folder.path(), folder / "good"}).timeout, 8s);
  EXPECT_EQ(QuenvarConfig::loadFrom({folder / "none"}).timeout, 30s);
}

TEST_F(QuenvarConfigFile, IsIgnoredUnlessItIsARegularFile) {
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);  // opening it would wait for a writer
  expectIgnored("this is not a regular file");
  std::filesystem::remove(path);
  std::filesystem::create_symlink("/dev/zero", path);  // reading it would take all memory
  expectIgnored("this is not a regular file");
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  expectIgnored("this is not a regular file");
}

TEST_F(QuenvarConfigFile, IsIgnoredIfItIsTooLargeOrCannotBeRead) {
  writeContent(path, std::string(65536, '\n') + "#");
  expectIgnored("the file is larger than 65536 bytes");
  std::filesystem::remove(path);
  std::filesystem::create_symlink("quenvar.conf", path);
  expectIgnored("cannot be read: Too many levels of symbolic links");
}

TEST_F(QuenvarConfigFile, IsFoundThroughTheEnvironmentButForAPrivilegedProcess) {
  setenv("SANE_CONFIG_DIR", (folder / "good").c_str(), 1);
  setenv("SANE_DEBUG_QUENVAR", "4", 1);
  EXPECT_EQ(QuenvarConfig::load().timeout, 7s);
  EXPECT_EQ(DebugOutput::levelOfEnvironment(), 4);
  const MorePrivileges setUserId;
  EXPECT_EQ(QuenvarConfig::load().timeout, 30s);
  EXPECT_EQ(DebugOutput::levelOfEnvironment(), 0);
  unsetenv("SANE_DEBUG_QUENVAR");
}

}  // namespace
