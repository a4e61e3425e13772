#pragma once

#include <chrono>

// The time-outs with which the two processes of a scan wait for each other. Whoever waits for another allows
// it more time than the other allows itself, so that each ends in its own way as long as it can.
namespace frontend::workertimes {

using std::chrono::milliseconds;

// For all calls after a picture together: nobody needs their replies, and the process is about to exit.
inline constexpr milliseconds finalCallsTimeout{1600};
// A cancelled worker exits within this time, whatever it is doing.
inline constexpr milliseconds workerExitTimeout{1800};
// Then the front end kills it, so that it has ended two seconds after a cancel.
inline constexpr milliseconds workerKillTimeout{1900};

// Between two heartbeats of a worker.
inline constexpr milliseconds heartbeatInterval{1000};
// For the library's own work between two transfers. A worker gives up its scan after this and
// the scanner's time-out.
inline constexpr milliseconds libraryTimeout{10000};
// A front end gives up a worker that has sent nothing for this long and the scanner's time-out.
inline constexpr milliseconds workerHeartbeatTimeout{20000};

// For a list of the scanners, which takes some hundredths of a second unless USB is faulty. A front end then
// kills the worker,
inline constexpr milliseconds listTimeout{10000};
// which gets this long to release USB after it has sent the list.
inline constexpr milliseconds listExitTimeout{200};
// A worker that lists exits after this long even if its front end has not survived to kill it.
inline constexpr std::chrono::seconds longestList{15};

static_assert(finalCallsTimeout < workerExitTimeout && workerExitTimeout < workerKillTimeout);
static_assert(listTimeout + listExitTimeout < longestList);
static_assert(heartbeatInterval < libraryTimeout && libraryTimeout < workerHeartbeatTimeout);

}  // namespace frontend::workertimes
