#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// Runs the q750 executable in a process:
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

// Starts it and returns the process, to interact with it. Its standard output and error are these
// descriptors, which are borrowed.
pid_t startProgram(const std::vector<std::string>& arguments, int output, int errors,
                   const std::function<void()>& inChild = {});

// Its exit code, as above.
int waitFor(pid_t process);

// Everything until the end of a pipe.
std::string readAll(int descriptor);
