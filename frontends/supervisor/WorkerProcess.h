#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "OwnedDescriptor.h"

namespace frontend {

// A process that runs a worker program. In a process group of its own, so that Ctrl-C in a terminal reaches
// the front end alone; with default signal handling, with no descriptor of the application's but standard
// error where it is wanted and there, and with nothing on standard input and output.
//
// The application may do what it likes with SIGCHLD: ignore it, or wait for any child itself. One thread.
class WorkerProcess {
 public:
  WorkerProcess() = default;
  // Ends the process where it is still there.
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  // Starts the program. The descriptors stay the caller's; both are above workerImageDescriptor. Answers an
  // error number, 0 for success. Once per object.
  int start(const std::string& program, int control, int image, bool verbose);

  // Waits for its end. Whether it is gone, and then no zombie either.
  bool awaitEnd(std::chrono::milliseconds time);
  // Ends it at once, for good.
  void kill();

  bool isRunning() const { return process_ > 0; }
  // After its end: whether it ended by itself and as it should. False where another part of the application
  // took the answer away.
  bool endedWell() const { return status_ == 0; }
  // Whether it ended before it was the program that it was to be. Most systems tell that at the start; the
  // others by this status of an end (POSIX.1-2017, posix_spawn).
  bool neverRan() const;
  // How it ended, as a clause: "signal 11 ended it". Empty where nobody knows.
  std::string howItEnded() const;

 private:
  bool reap();

  pid_t process_ = 0;
  platform::OwnedDescriptor handle_;  // of the process; none on systems that have no such thing
  std::optional<int> status_;         // as wait() tells it
};

}  // namespace frontend
