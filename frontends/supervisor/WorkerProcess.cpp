#include "WorkerProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <new>
#include <thread>
#include <vector>

// The system's header declares these functions as if they were C++ (GNU C Library 2.36).
extern "C" {
#include <sys/pidfd.h>
}

#include "WorkerEnvironment.h"
#include "WorkerMessages.h"

extern char** environ;

namespace frontend {
namespace {

constexpr std::chrono::milliseconds pauseWithoutHandle(5);
constexpr std::chrono::milliseconds timeToDie(2000);

// The system itself skips the signals whose handling cannot be changed.
class SpawnAttributes {
 public:
  SpawnAttributes() {
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

class SpawnActions {
 public:
  SpawnActions() { posix_spawn_file_actions_init(&actions_); }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  void openNothing(int descriptor) {
    note(posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", O_RDWR, 0));
  }
  void hand(int descriptor, int as) { note(posix_spawn_file_actions_adddup2(&actions_, descriptor, as)); }
  void closeFrom(int first) { note(posix_spawn_file_actions_addclosefrom_np(&actions_, first)); }

  int error() const { return error_; }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  void note(int error) {
    if (error_ == 0) error_ = error;
  }

  posix_spawn_file_actions_t actions_;
  int error_ = 0;
};

}  // namespace

WorkerProcess::~WorkerProcess() {
  if (!isRunning()) return;
  kill();
  awaitEnd(timeToDie);
}

int WorkerProcess::start(const std::string& program, int control, int image, bool verbose) try {
  SpawnActions actions;
  actions.openNothing(STDIN_FILENO);
  actions.openNothing(STDOUT_FILENO);
  // If the application has closed it, the worker's first file would get its number, and the log
  // would go there.
  const bool hasStandardError = fcntl(STDERR_FILENO, F_GETFD) >= 0;
  if (!verbose || !hasStandardError) actions.openNothing(STDERR_FILENO);
  actions.hand(control, workerControlDescriptor);
  actions.hand(image, workerImageDescriptor);
  actions.closeFrom(workerImageDescriptor + 1);
  if (actions.error() != 0) return actions.error();
  const SpawnAttributes attributes;
  char* const arguments[] = {const_cast<char*>(program.c_str()), nullptr};
  pid_t process = 0;
  const std::vector<char*> environment = workerEnvironment(environ);
  const int error =
      posix_spawn(&process, program.c_str(), actions.get(), attributes.get(), arguments, environment.data());
  if (error != 0) return error;
  process_ = process;
  handle_ = platform::OwnedDescriptor(pidfd_open(process, 0));
  return 0;
} catch (const std::bad_alloc&) {
  return ENOMEM;
}

// Collects the exit status if the process has exited, and returns whether it has. If the application has
// waited for it or ignores SIGCHLD, there is no status to collect.
bool WorkerProcess::reap() {
  if (!isRunning()) return true;
  siginfo_t end{};
  const bool byHandle = handle_.get() >= 0;
  const int result = waitid(byHandle ? P_PIDFD : P_PID,
                            static_cast<id_t>(byHandle ? handle_.get() : process_), &end, WEXITED | WNOHANG);
  if (result == 0 && end.si_pid == 0) return false;
  if (result != 0 && errno != ECHILD) return false;
  if (result == 0) status_ = end.si_code == CLD_EXITED ? W_EXITCODE(end.si_status, 0) : end.si_status;
  // If SIGCHLD is ignored, some systems report ECHILD while the child is still running.
  if (result != 0 && byHandle) {
    pollfd gone{handle_.get(), POLLIN, 0};
    if (poll(&gone, 1, 0) == 0) return false;
  }
  process_ = 0;
  return true;
}

bool WorkerProcess::awaitEnd(std::chrono::milliseconds time) {
  const auto deadline = std::chrono::steady_clock::now() + time;
  while (!reap()) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return false;
    if (handle_.get() < 0) {
      std::this_thread::sleep_for(std::min(left, pauseWithoutHandle));
      continue;
    }
    pollfd gone{handle_.get(), POLLIN, 0};
    poll(&gone, 1, static_cast<int>(left.count()));
  }
  return true;
}

// By its handle if possible: once the application has waited for the process, its number may
// be another one's.
void WorkerProcess::kill() {
  if (reap()) return;
  if (handle_.get() >= 0) {
    pidfd_send_signal(handle_.get(), SIGKILL, nullptr, 0);
  } else {
    ::kill(process_, SIGKILL);
  }
}

bool WorkerProcess::neverRan() const {
  constexpr int couldNotBeRun = 127;
  return exitStatus() == couldNotBeRun;
}

bool WorkerProcess::wasKilled() const {
  return status_ && WIFSIGNALED(*status_) && WTERMSIG(*status_) == SIGKILL;
}

std::optional<int> WorkerProcess::exitStatus() const {
  if (!status_ || !WIFEXITED(*status_)) return std::nullopt;
  return WEXITSTATUS(*status_);
}

std::string WorkerProcess::howItEnded() const {
  if (!status_) return {};
  if (WIFSIGNALED(*status_)) return "it was killed by signal " + std::to_string(WTERMSIG(*status_));
  return "it exited with status " + std::to_string(WEXITSTATUS(*status_));
}

}  // namespace frontend
