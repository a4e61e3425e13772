#pragma once

#include <string>
#include <vector>

namespace platform {

// Lets the kernel refuse, from now on and in this thread and those that it starts, every file but those named
// and what is below them (Landlock, Linux 5.13): `readable` for reading, `writable` for writing as well; no
// file for running, creating, renaming or removing. What is open stays open. Paths that cannot be opened are
// skipped. Needs PR_SET_NO_NEW_PRIVS.
//
// Returns whether the rules are in force. Never throws.
bool restrictFiles(const std::vector<std::string>& readable,
                   const std::vector<std::string>& writable) noexcept;

}  // namespace platform
