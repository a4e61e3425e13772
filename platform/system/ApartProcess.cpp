#include "ApartProcess.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>

namespace platform {
namespace {

[[noreturn]] void endChild() {
  kill(getpid(), SIGKILL);  // no message and no core dump: the parent reports what it means
  _exit(1);
}

}  // namespace

std::optional<int> runApart(const std::function<int()>& work, int ended,
                            const std::function<bool()>& unwanted) {
  const pid_t child = fork();
  if (child < 0) return std::nullopt;
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::set_terminate(endChild);
    _exit(work());
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return ended;
    if (unwanted()) kill(child, SIGKILL);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : ended;
}

}  // namespace platform
