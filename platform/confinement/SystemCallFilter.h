#pragma once

namespace platform {

// Lets the kernel refuse, from now on and in every thread, the system calls that reading a device and a
// connection does not need, with EPERM, so that a library that only tries one goes on without it. Refused
// are, among all others: sockets but those of the kernel's notices (AF_NETLINK), programs, other processes,
// files that would be created, renamed or removed, namespaces, memory that could be executed, and keystrokes
// for the terminal.
//
// Where the C library makes sockets by socketcall(2), on 32-bit x86 and on s390x, sockets of every family can
// be made, but none be connected: its arguments are in memory, which the kernel does not show to a filter.
//
// With `localSockets`, sockets of the machine itself (AF_UNIX) are allowed, and unlink(), which removes them.
//
// Starts and ends a process of its own, for a few milliseconds. Returns whether the filter is in force. Never
// throws.
bool filterSystemCalls(bool localSockets) noexcept;

}  // namespace platform
