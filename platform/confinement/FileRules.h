#pragma once

#include "Confinement.h"

namespace platform {

// Makes the kernel refuse, from now on and in this thread and those that it starts, every file but those
// named and what is below them (Landlock, Linux 5.13): `readable` for reading, `devices` for writing as well,
// `sockets` for making and removing local sockets too; no file for running or renaming. What is open stays
// open. Paths that cannot be opened are skipped. Needs PR_SET_NO_NEW_PRIVS.
//
// Returns whether the rules are in force. Never throws.
bool restrictFiles(const ConfinementNeeds& needs) noexcept;

}  // namespace platform
