#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>

#include "ByteSink.h"
#include "FileCalls.h"
#include "OutputError.h"
#include "OutputFile.h"
#include "TemporaryFolder.h"

namespace {

using frontend::ExistingFile;
using frontend::OutputError;
using frontend::OutputFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// Whether the file system has files without names, which decides how the final name is taken.
enum class Files { nameless, named };

bool hasNamelessFiles(const TemporaryFolder& folder) {
  const int file = open(folder.path().c_str(), O_TMPFILE | O_RDWR, 0600);
  return file >= 0 && close(file) == 0;
}

class Durable : public testing::TestWithParam<Files> {
 protected:
  Durable() {
    if (GetParam() == Files::named) calls.fail("O_TMPFILE", EOPNOTSUPP);
  }
  void SetUp() override {
    if (nameless() && !hasNamelessFiles(folder)) GTEST_SKIP() << "not on this file system";
  }
  bool nameless() const { return GetParam() == Files::nameless; }
  static void write(OutputFile& file, const std::string& text) {
    ASSERT_EQ(::write(file.descriptor(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  static std::string errorOf(OutputFile& file, ExistingFile existing = ExistingFile::replace) {
    try {
      file.commit(existing);
      return "";
    } catch (const OutputError& error) {
      return error.what();
    }
  }

  FileCalls calls;
  TemporaryFolder folder;
  std::string path = folder / "page.tiff";
};

TEST_P(Durable, ReachesTheDiskBeforeItTakesItsName) {
  OutputFile file(path);
  file.commit();
  EXPECT_THAT(calls.names(), ElementsAre("fsync", nameless() ? "linkat" : "rename", "fsync folder"));
}

TEST_P(Durable, ReachesTheDiskBeforeItReplacesAFile) {
  writeContent(path, "old");
  OutputFile file(path);
  write(file, "new");
  file.commit();
  if (nameless()) {
    EXPECT_THAT(calls.names(), ElementsAre("fsync", "linkat", "linkat", "rename", "fsync folder"));
  } else {
    EXPECT_THAT(calls.names(), ElementsAre("fsync", "rename", "fsync folder"));
  }
  EXPECT_EQ(contentOf(path), "new");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_P(Durable, LeavesTheOldFileWhereItDoesNotReachTheDisk) {
  writeContent(path, "old");
  calls.fail("fsync", EIO);
  {
    OutputFile file(path);
    EXPECT_THAT(errorOf(file), HasSubstr("Input/output error"));
    calls.fail("fsync", 0);  // the system reports the loss once
    EXPECT_THROW(file.keep(), OutputError);
  }
  EXPECT_EQ(contentOf(path), "old");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_P(Durable, ReportsAFolderThatDoesNotReachTheDisk) {
  calls.fail("fsync folder", EIO);
  OutputFile file(path);
  EXPECT_THAT(errorOf(file), HasSubstr("Input/output error"));
  EXPECT_EQ(file.keep(), path);
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

// A signal interrupts the wait for a disk that is a network away.
TEST_P(Durable, WaitsForTheDiskAgainAfterASignal) {
  calls.failOnce("fsync", EINTR);
  calls.failOnce("fsync folder", EINTR);
  OutputFile file(path);
  EXPECT_EQ(errorOf(file), "");
  calls.failOnce("fsync", EINTR);
  EXPECT_TRUE(frontend::ByteSink(file.descriptor()).sync());
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_P(Durable, DoesWithoutSyncWhereThereIsNone) {
  for (const char* call : {"fsync", "fsync folder"}) calls.fail(call, EINVAL);
  OutputFile file(path);
  EXPECT_EQ(errorOf(file), "");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_P(Durable, StaysUnderAnotherNameWhereItsOwnCannotBeTaken) {
  std::string kept;
  {
    OutputFile file(path);
    write(file, "picture");
    std::filesystem::create_directory(path);
    EXPECT_THAT(errorOf(file), HasSubstr("Is a directory"));
    kept = file.keep();
  }
  EXPECT_EQ(contentOf(kept), "picture");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff", kept.substr(kept.rfind('/') + 1)));
  EXPECT_THAT(kept, testing::MatchesRegex(".*/q750-saved-[0-9a-f]{8}\\.tiff"));
}

TEST_P(Durable, TakesOnlyAFreeNameOnRequest) {
  OutputFile file(path);
  writeContent(path, "of another process");
  EXPECT_THAT(errorOf(file, ExistingFile::keep), HasSubstr("a file with this name already exists."));
  EXPECT_EQ(contentOf(path), "of another process");
  std::filesystem::remove(path);
  EXPECT_EQ(errorOf(file, ExistingFile::keep), "");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

TEST_P(Durable, TakesAFreeNameWhereItCannotBeRenamedInOneStep) {
  calls.fail("renameat2", EINVAL);
  OutputFile file(path);
  writeContent(path, "of another process");
  EXPECT_NE(errorOf(file, ExistingFile::keep), "");
  EXPECT_EQ(contentOf(path), "of another process");
  std::filesystem::remove(path);
  EXPECT_EQ(errorOf(file, ExistingFile::keep), "");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff"));
}

// As on folders that a virtual machine shares with its host.
TEST_P(Durable, TakesAFreeNameWhereThereAreNoLinksEither) {
  calls.fail("renameat2", EINVAL);
  calls.fail("link", EPERM);
  OutputFile file(path);
  write(file, "picture");
  writeContent(path, "of another process");
  EXPECT_THAT(errorOf(file, ExistingFile::keep), HasSubstr("a file with this name already exists."));
  EXPECT_EQ(contentOf(path), "of another process");
  const std::string kept = file.keep();
  EXPECT_EQ(contentOf(kept), "picture");
  EXPECT_THAT(folder.names(), ElementsAre("page.tiff", kept.substr(kept.rfind('/') + 1)));
}

TEST_P(Durable, LeavesNoEmptyFileWhereTheRenamingFails) {
  for (const char* call : {"renameat2", "link", "rename"}) calls.fail(call, EPERM);
  calls.fail("renameat2", EINVAL);
  if (nameless()) calls.fail("linkat", EPERM);
  {
    OutputFile file(path);
    EXPECT_NE(errorOf(file, ExistingFile::keep), "");
  }
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_P(Durable, HasThePermissionsOfANewFile) {
  const mode_t before = umask(0027);
  OutputFile file(path);
  file.commit();
  umask(before);
  EXPECT_EQ(modeOf(path), 0640U);
}

INSTANTIATE_TEST_SUITE_P(Files, Durable, testing::Values(Files::nameless, Files::named),
                         [](const auto& row) { return row.param == Files::nameless ? "Nameless" : "Named"; });

// What a process leaves that is killed while it writes.
class Killed : public testing::Test {
 protected:
  // Returns the process, which has ended.
  pid_t writeAndBeKilled() const {
    const pid_t process = fork();
    if (process == 0) {
      OutputFile file(path);
      static_cast<void>(::write(file.descriptor(), "half", 4));
      raise(SIGKILL);
    }
    int status = 0;
    waitpid(process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    return process;
  }
  std::string nameWith(pid_t process) const {
    return folder / (".q750-" + std::to_string(process) + "-0123abcd.part");
  }

  FileCalls calls;
  TemporaryFolder folder;
  std::string path = folder / "page.tiff";
};

TEST_F(Killed, LeavesNothingWhereFilesNeedNoName) {
  if (!hasNamelessFiles(folder)) GTEST_SKIP() << "not on this file system";
  writeAndBeKilled();
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(Killed, LeavesAPrivateFileForTheNextRunToRemove) {
  calls.fail("O_TMPFILE", EOPNOTSUPP);
  const pid_t process = writeAndBeKilled();
  EXPECT_THAT(folder.names(), ElementsAre(StartsWith(".q750-" + std::to_string(process) + "-")));
  OutputFile::check(folder / "other.png");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(Killed, LosesOnlyFilesThatNobodyWrites) {
  const pid_t dead = writeAndBeKilled();
  writeContent(nameWith(dead), "in use on another machine");
  const int locked = open(nameWith(dead).c_str(), O_RDONLY);
  ASSERT_EQ(flock(locked, LOCK_EX), 0);
  writeContent(nameWith(getppid()), "not locked yet");
  OutputFile::check(path);
  EXPECT_EQ(folder.names().size(), 2U);
  close(locked);
  OutputFile::check(path);
  EXPECT_THAT(folder.names(), ElementsAre(StartsWith(".q750-" + std::to_string(getppid()))));
}

TEST_F(Killed, LosesNoLinkAndNoFileOfAnotherName) {
  const pid_t dead = writeAndBeKilled();
  writeContent(folder / "precious", "untouched");
  std::filesystem::create_symlink(folder / "precious", nameWith(dead));
  writeContent(folder / (".q750-" + std::to_string(dead) + "-0123abcd.part.txt"), "");
  writeContent(folder / ".q750-0123456789abcdef.part", "");
  const std::vector<std::string> before = folder.names();
  OutputFile::check(path);
  EXPECT_EQ(folder.names(), before);
  EXPECT_EQ(contentOf(folder / "precious"), "untouched");
}

TEST_F(Killed, LosesNoFileOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files to others";
  const std::string name = nameWith(writeAndBeKilled());
  writeContent(name, "");
  ASSERT_EQ(chown(name.c_str(), 12345, 12345), 0);
  OutputFile::check(path);
  EXPECT_EQ(folder.names().size(), 1U);
}

TEST_F(Killed, LeavesWhatItHadUnderAPrivateNameOfItsOwnId) {
  writeContent(nameWith(getpid()), "of an earlier process");
  OutputFile::check(path);
  EXPECT_THAT(folder.names(), IsEmpty());
}

}  // namespace
