#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

// What a process keeps for the rest of its life when it is confined; it gives up everything else.
struct ConfinementNeeds {
  std::vector<std::string>
      readable;  // files, and folders with all below them; those that do not exist are skipped
  std::vector<std::string> devices;  // the same, also for writing
  std::vector<std::string> sockets;  // folders in which it may make and remove local sockets; where there
                                     // are none, it may neither make nor connect any
  std::uint64_t memoryBytes = 0;     // of memory for data (RLIMIT_DATA); 0 leaves the limit as it is
};

// Which parts are in force. A kernel may lack any part, and a container may refuse it.
struct Confinement {
  bool privileges = false;  // no program that it could start would have more rights than itself; no core dump
  bool systemCalls = false;  // the filter, see SystemCallFilter.h
  bool files = false;        // no file can be opened but those that are needed (Landlock)
};

// Confines this process, so that a reader of untrusted bytes that is exploited reaches neither the network,
// nor the files of its user, nor other processes. What is open stays open. Call it before the first thread is
// started, and while SIGCHLD is not ignored: existing threads keep their access to files, and the filter is
// compiled by a child. It cannot be undone.
//
// Never fails: whatever the system refuses is missing in the result. A sanitizer needs what is given up, so
// in such a build the call changes nothing. Throws std::bad_alloc.
Confinement confineProcess(const ConfinementNeeds& needs);

// Confines a child process and returns what is in force there. Blocks until it has exited. Nothing is in
// force if no child can be started.
Confinement tryConfinement(const ConfinementNeeds& needs);

}  // namespace platform
