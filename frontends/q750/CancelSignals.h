#pragma once

#include <csignal>
#include <vector>

#include "CancelFlag.h"

namespace frontend {

class SupervisedScan;

// While it lives, Ctrl-C, a polite kill and a closed terminal (SIGINT, SIGTERM, SIGHUP) request a cancel
// instead of ending the process on the spot, and blocking calls return for it. What the caller of the program
// chose to ignore stays ignored. Writing into a closed pipe or past a file size limit becomes a plain failure
// of the write. One at a time per process.
class CancelSignals {
 public:
  explicit CancelSignals(CancelFlag& flag);
  ~CancelSignals();
  CancelSignals(const CancelSignals&) = delete;
  CancelSignals& operator=(const CancelSignals&) = delete;

  // Cancels the scan too while this lives, also for a signal that came before. One at a time.
  class Reaching {
   public:
    Reaching(SupervisedScan& scan, const CancelFlag& flag);
    ~Reaching();
    Reaching(const Reaching&) = delete;
    Reaching& operator=(const Reaching&) = delete;
  };

 private:
  struct Previous {
    int signal;
    struct sigaction action;
  };
  void replace(int signal, void (*handler)(int));

  std::vector<Previous> previous_;
};

// Waits until something can be read from the descriptor, or its end is there. False where a cancel was
// requested before or meanwhile; none is missed.
bool awaitInput(int descriptor, const CancelFlag& flag);

}  // namespace frontend
