#pragma once

#include <csignal>
#include <vector>

#include "Cancellation.h"
#include "OwnedDescriptor.h"

namespace frontend {

// While it exists, Ctrl-C, SIGTERM and a closed terminal (SIGINT, SIGTERM, SIGHUP) request a cancel instead
// of terminating the process, and blocking system calls return for them. A second SIGINT or SIGTERM insists
// on it; SIGHUP never does, since both the kernel and the shell send it when a terminal is closed. Signals
// that the program was started to ignore stay ignored. Writing to a closed pipe or past a file size limit
// becomes an error of the write (SIGPIPE, SIGXFSZ are ignored). One at a time per process; restores the
// handlers that it found.
class CancelSignals {
 public:
  // Throws std::system_error if the system has no descriptor left, or std::bad_alloc; then nothing is
  // handled. `cancellation` outlives the object.
  explicit CancelSignals(Cancellation& cancellation);
  ~CancelSignals();
  CancelSignals(const CancelSignals&) = delete;
  CancelSignals& operator=(const CancelSignals&) = delete;

  // For poll(): readable from the first such signal on. Never read from it; it stays the object's.
  int descriptor() const { return event_.get(); }

 private:
  struct Previous {
    int signal;
    struct sigaction action;
  };
  static void onSignal(int signal);
  void handle(int signal, void (*handler)(int));

  Cancellation& cancellation_;
  platform::OwnedDescriptor event_;
  std::vector<Previous> previous_;
};

}  // namespace frontend
