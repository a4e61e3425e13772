#include <sys/resource.h>

#include <ctime>

#include "DeviceTime.h"
#include "WorkerClock.h"

namespace frontend {
namespace {

using TimePoint = std::chrono::steady_clock::time_point;

// A scan takes a fraction of a second; one that never ends is killed, with a distinctive signal.
#ifdef __SANITIZE_ADDRESS__
constexpr rlim_t processorSeconds = 60;
#else
constexpr rlim_t processorSeconds = 10;
#endif

// Before main(): a confined process can set no limit any more.
[[maybe_unused]] const int limited = [] {
  const rlimit limit{processorSeconds, 2 * processorSeconds};
  return setrlimit(RLIMIT_CPU, &limit);
}();

}  // namespace

// The linker takes these definitions instead of the worker's own. How long a job takes follows from the seed
// alone.
TimePoint jobTime() noexcept {
  return TimePoint(hostile::DeviceTime::elapsed());
}

// A process that the machine lets wait does not hang.
TimePoint watchdogTime() noexcept {
  timespec used{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
  return TimePoint(std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec));
}

}  // namespace frontend
