#pragma once

#include <chrono>

// How long the two processes of a scan wait for each other. From the inside out: whoever waits for another
// gives it more time than it allows itself, so that each leaves by its own way as long as it can.
namespace frontend::workertimes {

using std::chrono::milliseconds;

// The calls that come after a picture, together: nobody needs their answers, and the process is to go.
inline constexpr milliseconds lastCalls{1600};
// A cancelled worker ends itself, whatever it is doing.
inline constexpr milliseconds workerLeaves{1800};
// A front end that waits for its worker to go kills it. It is gone two seconds after a cancel.
inline constexpr milliseconds workerIsKilled{1900};

// Between two heartbeats of a worker.
inline constexpr milliseconds heartbeatInterval{1000};
// What the library does between two transfers. A worker that takes so much longer than the scanner may be
// silent gives up.
inline constexpr milliseconds libraryWorks{10000};
// A front end gives up a worker that has sent no heartbeat for so much longer than the scanner may be
// silent.
inline constexpr milliseconds workerIsSilent{20000};

static_assert(lastCalls < workerLeaves && workerLeaves < workerIsKilled);
static_assert(heartbeatInterval < libraryWorks && libraryWorks < workerIsSilent);

}  // namespace frontend::workertimes
