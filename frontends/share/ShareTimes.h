#pragma once

#include <chrono>
#include <cstddef>
#include <functional>

// The time-outs of the network server, and how much it remembers.
namespace frontend::share {

using Clock = std::chrono::steady_clock;
// Tests pass their own.
using Now = std::function<Clock::time_point()>;

namespace times {

using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

// POST waits this long for failures that are known at once: the scanner is in use, unplugged, or not ours.
inline constexpr milliseconds earlyFailure = seconds(1);
// A request for the page is held open while the scanner warms up; then the client is asked to retry.
inline constexpr milliseconds longestHold = seconds(60);
// A scan whose page no client requests is cancelled.
inline constexpr milliseconds unclaimed = seconds(60);
// A client whose connection broke while rows arrived may request the page again within this time.
inline constexpr milliseconds secondThought(400);
// For the network to carry more of a page that has been sent.
inline constexpr milliseconds acknowledgement = seconds(60);
inline constexpr milliseconds acknowledgementTick(2);
// Between two checks of clients and clock while a page is scanned. When idle, there are none.
inline constexpr milliseconds tick(100);
// The scanner is free this long after a scan at the latest: its worker is killed by then.
inline constexpr milliseconds scannerFree(2500);
// A finished job and its page are forgotten.
inline constexpr milliseconds forgotten = minutes(5);

}  // namespace times

// Finished jobs that ScannerStatus lists; the running one is listed too.
inline constexpr std::size_t longestHistory = 10;

}  // namespace frontend::share
