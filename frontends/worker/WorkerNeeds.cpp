#include "WorkerNeeds.h"

#include <cstdlib>

namespace frontend {
namespace {

// Programs, libraries and the stacks of threads count too.
constexpr std::uint64_t memoryOfAnyTask = 256u * 1024 * 1024;
constexpr std::uint64_t memoryPerRasterByte = 10;
// For a picture at the limits of ImageFile.h: its pixels, and what its decoder holds besides, which in a
// progressive JPEG is all coefficients, twice as much.
constexpr std::uint64_t memoryOfPaper = 1024u * 1024 * 1024;

}  // namespace

platform::ConfinementNeeds workerNeeds() {
  platform::ConfinementNeeds needs;
  needs.readable = {"/sys", "/run/udev", "/proc/self/mountinfo", "/etc/localtime", "/usr/share/zoneinfo"};
  needs.devices = {"/dev/bus/usb"};
  // Where /dev and /sys are emulated, the notices of their devices arrive at sockets in this folder.
  if (const char* emulation = std::getenv("UMOCKDEV_DIR")) needs.sockets = {emulation};
  needs.memoryBytes = memoryOfAnyTask;
  return needs;
}

platform::ConfinementNeeds workerNeeds(const ScanRequest& request) {
  platform::ConfinementNeeds needs = workerNeeds();
  needs.memoryBytes += memoryPerRasterByte * request.settings.rasterBytes();
  if (!request.virtualScanner.paper.empty()) needs.memoryBytes += memoryOfPaper;
  return needs;
}

}  // namespace frontend
