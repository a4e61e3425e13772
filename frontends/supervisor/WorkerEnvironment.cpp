#include "WorkerEnvironment.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace frontend {
namespace {

// Beginnings of entries.
constexpr std::string_view passedOn[] = {
    "LANG=",
    "LANGUAGE=",
    "LC_",
    "TZ=",
    "LD_",
    "GLIBC_TUNABLES=",
    "MALLOC_",
    "LIBUSB_DEBUG=",
    "ASAN_OPTIONS=",
    "LSAN_OPTIONS=",
    "UBSAN_OPTIONS=",
    "TSAN_OPTIONS=",
    "UMOCKDEV_DIR=",
    "SYSTEMD_DEVICE_VERIFY_SYSFS=",
};

}  // namespace

std::vector<char*> workerEnvironment(char* const* environment) {
  std::vector<char*> result;
  for (; environment != nullptr && *environment != nullptr; ++environment) {
    const std::string_view entry(*environment);
    const bool passes =
        std::any_of(std::begin(passedOn), std::end(passedOn),
                    [entry](std::string_view beginning) { return entry.starts_with(beginning); });
    if (passes) result.push_back(*environment);
  }
  result.push_back(nullptr);
  return result;
}

}  // namespace frontend
