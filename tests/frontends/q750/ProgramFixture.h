#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "RunningProgram.h"
#include "TemporaryFolder.h"

struct Pipe {
  Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  ~Pipe() {
    closeEnd(0);
    closeEnd(1);
  }
  void closeReader() { closeEnd(0); }
  void closeWriter() { closeEnd(1); }
  int reader() const { return ends[0]; }
  int writer() const { return ends[1]; }
  void send(const std::string& text) const {
    EXPECT_EQ(write(writer(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  // Reads up to and including the text, or to the end. Returns what was read.
  std::string readThrough(const std::string& text) const {
    std::string got;
    for (char character = 0; !got.ends_with(text) && read(reader(), &character, 1) == 1;) got += character;
    return got;
  }
  int ends[2] = {-1, -1};

 private:
  void closeEnd(int end) {
    if (ends[end] >= 0) close(ends[end]);
    ends[end] = -1;
  }
};

// Scans with the virtual scanner into a temporary folder. Processes that the program leaves behind become
// children of the test, which must have none in the end.
class ProgramFixture : public testing::Test {
 protected:
  ProgramFixture() { prctl(PR_SET_CHILD_SUBREAPER, 1); }
  ~ProgramFixture() override {
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a process is left";
    EXPECT_EQ(errno, ECHILD);
  }

  static std::vector<std::string> scanArguments(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"scan", "-d", "virtual"});
    return arguments;
  }
  static ProgramResult scan(const std::vector<std::string>& arguments,
                            const std::function<void()>& inChild = {}) {
    return runProgram(scanArguments(arguments), inChild);
  }

  TemporaryFolder folder;
};
