#pragma once

#include <csignal>
#include <vector>

#include "OwnedDescriptor.h"

namespace frontend {

// While it lives, Ctrl-C, a polite kill and a closed terminal (SIGINT, SIGTERM, SIGHUP) make a descriptor
// ready to be read instead of ending the process on the spot, so that a loop that waits for descriptors ends
// by itself. What the caller of the program chose to ignore stays ignored. One at a time per process.
class StopSignals {
 public:
  // Throws std::system_error where the system has no descriptor left.
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  // Ready once a signal came, and from then on.
  int descriptor() const { return reader_.get(); }

 private:
  struct Previous {
    int signal;
    struct sigaction action;
  };
  void replace(int signal);

  platform::OwnedDescriptor reader_;
  platform::OwnedDescriptor writer_;
  std::vector<Previous> previous_;
};

}  // namespace frontend
