#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "TemporaryFolder.h"
#include "WorkerPlaces.h"

namespace {

namespace files = std::filesystem;
using testing::AnyOf;
using testing::IsEmpty;
using testing::StartsWith;

// The output of a program. None of the names needs quoting for the shell.
std::string printedBy(const std::string& command) {
  std::string text;
  FILE* output = popen(command.c_str(), "r");
  for (int character = std::fgetc(output); character != EOF; character = std::fgetc(output)) {
    text += static_cast<char>(character);
  }
  EXPECT_EQ(pclose(output), 0) << command;
  return text;
}

// A front end installed below a separate folder.
class InstalledFrontEnd : public testing::Test {
 protected:
  InstalledFrontEnd() : prefix(files::canonical(folder / ".")) {}

  std::string worker(const std::string& place) const {
    const files::path path = prefix / place / frontend::workerName;
    files::create_directories(path.parent_path());
    std::ofstream(path) << "#!/bin/sh\n";
    files::permissions(path, files::perms::owner_all);
    return path.string();
  }
  std::string copied(const char* file, const std::string& place) const {
    files::create_directories(prefix / place);
    const files::path path = prefix / place / files::path(file).filename();
    files::copy_file(file, path, files::copy_options::overwrite_existing);
    return path.string();
  }
  std::string program(const std::string& place = "bin") const { return copied(Q750_FIND_WORKER, place); }
  std::string library(const std::string& place) const {
    return Q750_FIND_WORKER " " + copied(Q750_FIND_WORKER_LIBRARY, place);
  }

  TemporaryFolder folder;
  files::path prefix;
};

// The place where the build is configured to go holds a worker where it has been installed.
const auto nothingOfThisTree = [] { return AnyOf(IsEmpty(), StartsWith(frontend::configuredWorkerFolder)); };

TEST_F(InstalledFrontEnd, FindsTheWorkerOfItsOwnPrefix) {
  const std::string expected = worker(frontend::workerFolder);
  EXPECT_EQ(printedBy(program()), expected);
  for (const char* place : frontend::foldersOfFrontEnds) {
    EXPECT_EQ(printedBy(program(place)), expected) << place;
    EXPECT_EQ(printedBy(library(place)), expected) << place;
  }
}

TEST_F(InstalledFrontEnd, FindsTheOneBesideItFirst) {
  worker(frontend::workerFolder);
  const std::string expected = worker("bin");
  EXPECT_EQ(printedBy(program()), expected);
}

TEST_F(InstalledFrontEnd, IsFoundThroughLinksAndWhateverItIsCalledBy) {
  const std::string expected = worker(frontend::workerFolder);
  files::create_symlink(program(), prefix / "link");
  EXPECT_EQ(printedBy((prefix / "link").string()), expected);
  EXPECT_EQ(printedBy("cd " + prefix.string() + "/bin && PATH=. q750-find-worker"), expected);
}

TEST_F(InstalledFrontEnd, FindsTheWorkerWithoutProc) {
  const std::string withoutProc =
      "unshare --user --map-root-user --mount sh -c 'mount -t tmpfs -o ro none /proc && exec \"$@\"' sh ";
  if (std::system((withoutProc + "true 2>/dev/null").c_str()) != 0) GTEST_SKIP() << "needs mounts of its own";
  const std::string expected = worker(frontend::workerFolder);
  EXPECT_EQ(printedBy(withoutProc + program()), expected);
  EXPECT_EQ(printedBy("cd " + prefix.string() + "/bin && PATH=.:$PATH " + withoutProc + "q750-find-worker"),
            expected);
}

TEST_F(InstalledFrontEnd, TakesNoWorkerFromElsewhere) {
  worker("");
  worker("elsewhere");
  worker("elsewhere/" + std::string(frontend::workerFolder));
  const std::string command = "cd " + prefix.string() + "/elsewhere && ";
  EXPECT_THAT(printedBy(command + program()), nothingOfThisTree());
  EXPECT_THAT(printedBy(command + program("other")), nothingOfThisTree());
  EXPECT_THAT(printedBy(command + library("other")), nothingOfThisTree());
}

TEST_F(InstalledFrontEnd, TakesNothingThatIsNoProgram) {
  const std::string place = worker(frontend::workerFolder);
  files::permissions(place, files::perms::owner_read);
  EXPECT_THAT(printedBy(program()), nothingOfThisTree());
  files::remove(place);
  files::create_directories(place);
  EXPECT_THAT(printedBy(program()), nothingOfThisTree());
}

}  // namespace
