#include "RunningProgram.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "TemporaryFolder.h"

pid_t startProgram(const std::vector<std::string>& arguments, int output, int errors,
                   const std::function<void()>& inChild) {
  std::vector<char*> argv{const_cast<char*>(Q750_PROGRAM)};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t process = fork();
  if (process != 0) return process;
  // The process that runs the tests may ignore signals, as shells do for background commands.
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_DFL);
  dup2(output, STDOUT_FILENO);
  dup2(errors, STDERR_FILENO);
  // The user who runs the tests may have set defaults.
  setenv("XDG_CONFIG_HOME", "/nonexistent", 1);
  if (inChild) inChild();
  execv(argv[0], argv.data());
  _exit(127);
}

int waitFor(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string readAll(int descriptor) {
  std::string all;
  char buffer[65536];
  for (;;) {
    const ssize_t count = read(descriptor, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return all;
    all.append(buffer, static_cast<std::size_t>(count));
  }
}

ProgramResult runProgram(const std::vector<std::string>& arguments, const std::function<void()>& inChild) {
  const TemporaryFolder folder;
  const std::string outputPath = folder / "output";
  const std::string errorsPath = folder / "errors";
  const int output = open(outputPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  const int errors = open(errorsPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  ProgramResult result;
  result.exitCode = waitFor(startProgram(arguments, output, errors, inChild));
  close(output);
  close(errors);
  result.output = contentOf(outputPath);
  result.errors = contentOf(errorsPath);
  return result;
}
