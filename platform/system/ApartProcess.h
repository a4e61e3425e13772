#pragma once

#include <functional>
#include <optional>

namespace platform {

// Runs work in a child process, so that what ends it there, a signal or std::terminate() in a library, ends
// nothing else. The child has a copy of the memory and the same files; of what it does only the content of
// the files and its result, 0 to 255, remain. Returns the result; `ended` where the child ended without one;
// nothing where no child could be started. Blocks as long as the work takes, or until `unwanted`, which is
// asked after each signal, returns true: then the child is killed. Calls from a process with one thread only
// (fork) and does not ignore SIGCHLD: the system keeps no result then. Allocates nothing.
std::optional<int> runApart(const std::function<int()>& work, int ended,
                            const std::function<bool()>& unwanted);

}  // namespace platform
