#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// The q750 executable as a process of its own:
//
//   const ProgramResult result = runProgram({"scan", "-o", path});
//   EXPECT_EQ(result.exitCode, 0) << result.errors;
struct ProgramResult {
  int exitCode = -1;  // 128 + signal where one ended it
  std::string output;
  std::string errors;
};

// Waits for it to end. `inChild` runs in the new process before the program starts.
ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::function<void()>& inChild = {});

// The same, to be talked to while it runs: its standard output and error end in these descriptors, which are
// borrowed. Returns the process.
pid_t startProgram(const std::vector<std::string>& arguments, int output, int errors,
                   const std::function<void()>& inChild = {});

// Its exit code, as above.
int waitFor(pid_t process);

// Everything until the end of a pipe.
std::string readAll(int descriptor);
