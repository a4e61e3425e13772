#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "ScanHost.h"
#include "TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;

const std::string tiffName = "/tmp/scan.tiff";
const std::string dumpName = "/tmp/vexo-data-dump";
const std::array<std::string, 2> fixedNames{tiffName, dumpName};

// How a process ended: the signal, or -1 - its exit status.
int outcomeOf(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : -1 - WEXITSTATUS(status);
}
constexpr int ranWell = -1;

// No file may grow beyond this size: a full disk where the signal is ignored, a crash during a write where
// it is not.
void limitFiles(rlim_t bytes, void (*onExcess)(int)) {
  const rlimit limit{bytes, bytes};
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, onExcess);
}

class FixedFiles : public ScanHost {
 protected:
  static constexpr Settings settings{75, color, oddArea};
  static constexpr std::size_t pageBytes = std::size_t{229} * 264 * 3;

  FixedFiles() { clear(); }
  ~FixedFiles() override { clear(); }

  static void clear() {
    for (const std::string& name : fixedNames) fs::remove_all(name);
    for (const std::string& name : temporaries()) fs::remove_all(name);
  }

  // Private files in the folder of the fixed ones.
  static std::vector<std::string> temporaries() {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator("/tmp")) {
      const std::string name = entry.path().filename();
      if (name.starts_with(".scan.tiff.") || name.starts_with(".vexo-data-dump."))
        found.push_back(entry.path());
    }
    return found;
  }

  // Scans and compares the raster with the paper's own page.
  void expectGoodScan() {
    plugIn({});
    ASSERT_EQ(scan(settings), 0);
    const std::vector<std::uint8_t> page = raster();
    ASSERT_EQ(page.size(), pageBytes);
    for (std::uint32_t row = 0; row < 264; row += 13) {
      for (std::uint32_t column = row % 7; column < 229; column += 7) {
        const virtualscanner::Color wanted = paper_->pixelAt(75, 20 + column, 48 + row);
        const std::uint8_t* pixel = &page[(row * 229 + column) * 3];
        ASSERT_EQ(wanted, (virtualscanner::Color{pixel[0], pixel[1], pixel[2]})) << column << " " << row;
      }
    }
    disable();
  }

  TemporaryFolder folder_;
};

TEST_F(FixedFiles, ArePrivateAndAllThatAScanLeaves) {
  const mode_t mask = umask(0);
  expectGoodScan();
  umask(mask);
  for (const std::string& name : fixedNames) {
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(name))) << name;
    EXPECT_EQ(modeOf(name), 0600U) << name;
  }
  EXPECT_THAT(temporaries(), testing::IsEmpty());
}

TEST_F(FixedFiles, ReplaceALinkPlantedUnderTheirName) {
  const std::string precious = folder_ / "precious";
  writeContent(precious, "precious");
  for (const std::string& name : fixedNames) fs::create_symlink(precious, name);
  expectGoodScan();
  for (const std::string& name : fixedNames) {
    EXPECT_FALSE(isLink(name)) << name;
    EXPECT_GE(fs::file_size(name), pageBytes) << name;
  }
  EXPECT_EQ(contentOf(precious), "precious");
}

TEST_F(FixedFiles, ReplaceASecondNameOfAForeignFileInsteadOfWritingToIt) {
  const std::string precious = "/tmp/.q750-test-precious-" + std::to_string(getpid());
  writeContent(precious, "precious");
  for (const std::string& name : fixedNames) fs::create_hard_link(precious, name);
  expectGoodScan();
  EXPECT_EQ(contentOf(precious), "precious");
  fs::remove(precious);
}

TEST_F(FixedFiles, LeaveTheScanWorkingWhereTheirNamesCannotBeTaken) {
  for (const std::string& name : fixedNames) fs::create_directories(name + "/occupied");
  expectGoodScan();
  for (const std::string& name : fixedNames) EXPECT_TRUE(fs::is_directory(name + "/occupied")) << name;
  EXPECT_THAT(temporaries(), testing::IsEmpty());
}

TEST_F(FixedFiles, LeaveTheScanWorkingWhereAnotherUserOwnsThem) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make files of two users";
  ASSERT_NE(fs::status("/tmp").permissions() & fs::perms::sticky_bit, fs::perms::none);
  for (const std::string& name : fixedNames) writeContent(name, "theirs");
  EXPECT_EQ(outcomeOf([this] {
              ASSERT_EQ(setuid(65534), 0);
              expectGoodScan();
            }),
            ranWell);
  for (const std::string& name : fixedNames) EXPECT_EQ(contentOf(name), "theirs");
  EXPECT_THAT(temporaries(), testing::IsEmpty());
}

TEST_F(FixedFiles, LeaveTheScanWorkingOnAFullDisk) {
  for (const std::string& name : fixedNames) writeContent(name, "from before");
  EXPECT_EQ(outcomeOf([this] {
              limitFiles(5000, SIG_IGN);
              expectGoodScan();
            }),
            ranWell);
  EXPECT_EQ(contentOf(tiffName), "from before");
  EXPECT_THAT(temporaries(), testing::IsEmpty());
}

// At the first bytes of the dump, at its end, and in the picture that follows it and is a little larger.
class FixedFilesAfterACrash : public FixedFiles, public testing::WithParamInterface<rlim_t> {};

TEST_P(FixedFilesAfterACrash, LeaveOnePrivateFileWhichTheNextScanRemoves) {
  EXPECT_EQ(outcomeOf([this] {
              limitFiles(GetParam(), SIG_DFL);
              expectGoodScan();
            }),
            SIGXFSZ);
  EXPECT_THAT(temporaries(), testing::SizeIs(1));
  expectGoodScan();
  EXPECT_THAT(temporaries(), testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Sizes, FixedFilesAfterACrash,
                         testing::Values(rlim_t{1}, rlim_t{229 * 264 * 2}, rlim_t{229 * 264 * 3 + 60}));

}  // namespace
