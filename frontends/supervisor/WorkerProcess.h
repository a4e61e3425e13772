#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "OwnedDescriptor.h"

namespace frontend {

// A process that runs a worker program. It has a process group of its own, so that Ctrl-C in a terminal
// reaches the front end alone, default signal handling, /dev/null as standard input and output, no descriptor
// of the application except standard error, if requested and open, and few of its environment variables
// (WorkerEnvironment.h).
//
// The application is free to ignore SIGCHLD or to wait for any child itself. Knows nothing of messages. One
// thread; nothing throws.
class WorkerProcess {
 public:
  WorkerProcess() = default;
  // Kills the process if it is still running.
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  // Starts the program. The descriptors stay the caller's; both are above workerImageDescriptor. Returns an
  // error number, 0 for success. Once per object.
  int start(const std::string& program, int control, int image, bool verbose);

  // Waits until it has exited, at most this long. Returns whether it has, and then leaves no zombie.
  bool awaitEnd(std::chrono::milliseconds time);
  // Sends SIGKILL. Harmless after its exit.
  void kill();

  bool isRunning() const { return process_ > 0; }
  // After its exit: whether its status was 0. False if another part of the application has
  // collected the status.
  bool endedWell() const { return status_ == 0; }
  // Whether it exited before exec succeeded. Most systems report that from start(); the others by an exit
  // status of 127 (POSIX.1-2017, posix_spawn).
  bool neverRan() const;
  // After its exit: whether SIGKILL ended it.
  bool wasKilled() const;
  // After its exit by itself: its exit status.
  std::optional<int> exitStatus() const;
  // How it ended, as a clause: "it was killed by signal 11". Empty if unknown.
  std::string howItEnded() const;

 private:
  bool reap();

  pid_t process_ = 0;
  platform::OwnedDescriptor handle_;  // of the process; none on systems without pidfd_open()
  std::optional<int> status_;         // as wait() reports it
};

}  // namespace frontend
