#pragma once

#include <cstddef>

// The limit of stacks (ulimit -s, RLIMIT_STACK), which this process inherits from its parent. The system
// applies it to the main thread, and the C library takes it as the size of every other thread's stack.
namespace platform {

// How far the stack of the main thread, which calls this, can still grow, in bytes; the largest number if it
// has no limit. Neither allocates nor uses a library other than the C library: it can be called before their
// constructors ran. Never fails.
std::size_t mainStackRoom() noexcept;

// Gives each thread that is started from now on, those of libraries included, a stack of this many bytes,
// whatever the limit is: a small stack is not enough for a library, and a large one may exceed a limit on
// memory. Lasts for the rest of the process; call it in main(), before the first thread.
void setThreadStackSize(std::size_t bytes) noexcept;

}  // namespace platform
