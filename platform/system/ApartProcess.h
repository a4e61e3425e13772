#pragma once

#include <functional>
#include <optional>

namespace platform {

// Runs work in a child process, so that a signal or std::terminate() in a library ends only the child. The
// child has a copy of the memory and the same files; of what it does, only the content of the files and its
// result, 0 to 255, remain. Returns the result; `ended` if the child ended without one; nothing if no child
// could be started. Blocks until the work is done or `unwanted`, which is called after each signal, returns
// true: then the child is killed. Only for a process that has a single thread (fork) and does not ignore
// SIGCHLD: the system would keep no result. Allocates nothing.
std::optional<int> runApart(const std::function<int()>& work, int ended,
                            const std::function<bool()>& unwanted);

}  // namespace platform
