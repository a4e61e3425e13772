#pragma once

#include <cstddef>

// The limit of stacks (ulimit -s, RLIMIT_STACK), which this process inherits from whoever started it. The
// system applies it to the main thread, and the C library takes it as the size of every other thread's stack.
namespace platform {

// How far the stack of the main thread, which calls this, can still grow, in bytes; the largest number where
// it has no limit. Neither allocates nor uses a library but the C library: it can be called before their
// constructors ran. Never fails.
std::size_t mainStackRoom() noexcept;

// Gives each thread that is started from now on, those of libraries included, a stack of this many bytes,
// whatever the limit is: a small one is not enough for a library, and a large one is memory that a limit of
// memory does not grant. For the rest of the process; call it in main(), before the first thread.
void setThreadStackSize(std::size_t bytes) noexcept;

}  // namespace platform
