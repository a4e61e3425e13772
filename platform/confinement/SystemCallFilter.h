#pragma once

namespace platform {

// Makes the kernel refuse, from now on and in every thread, the system calls that reading a device and a
// connection does not need. They fail with EPERM, so that a library that merely tries one continues without
// it. Among those refused are calls for sockets other than those of the kernel's notices of devices
// (AF_NETLINK), for starting programs, for access and signals to other processes, for creating, renaming or
// removing files, for namespaces, for executable memory, and for typing into the terminal.
//
// Where the C library creates sockets by socketcall(2), on 32-bit x86 and on s390x, sockets of every family
// can be created, and sent from, but none connected by connect(): its arguments are in memory, which a filter
// cannot read.
//
// With `localSockets`, sockets of the machine itself (AF_UNIX) are allowed, and unlink(), which removes them.
//
// Runs a child process for a few milliseconds. Returns whether the filter is in force. Never throws.
bool filterSystemCalls(bool localSockets) noexcept;

}  // namespace platform
