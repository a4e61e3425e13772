#include "HostileScan.h"

#include <poll.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <string_view>

#include "Dice.h"
#include "Probe.h"
#include "SupervisedScan.h"

namespace hostile {
namespace {

using frontend::ScanOutcome;
using frontend::ScanStatus;

// Nothing in a scan takes real time, but the machine may have many other tasks: a worker that is over the
// limit of its processor time is killed (HostileClock.cpp), and only one that hangs ends here.
constexpr std::chrono::minutes longestPause(10);
// A worker may use 256 MiB and ten times the picture; what it has in memory is far less.
#ifdef __SANITIZE_ADDRESS__
constexpr long largestWorkerKiB = 1024L * 1024;  // what is freed stays in memory for a while
#else
constexpr long largestWorkerKiB = 128L * 1024;
#endif

struct Designed {
  ScanStatus status;
  std::string_view beginning;
};
constexpr Designed designed[] = {
    {ScanStatus::good, "The page was scanned."},
    {ScanStatus::noDevice, "No scanner was found. "},
    {ScanStatus::noDevice, "The scanner was disconnected during the scan. "},
    {ScanStatus::noDevice, "The device found is not a Quenvar Q750: "},
    {ScanStatus::timedOut, "The scanner does not respond (request \""},
    {ScanStatus::timedOut, "The scanner accepted the job but sent no data for "},
    {ScanStatus::timedOut, "The scanner stopped in the middle of the picture: "},
    {ScanStatus::timedOut, "The scanner sends data too slowly: "},
    {ScanStatus::badData, "The scanner sent an unreadable reply (request \""},
    {ScanStatus::badData, "The scanner's data is garbled. "},
    {ScanStatus::badData, "The scanner finished without sending a picture. "},
    {ScanStatus::badData, "The scanner's picture cannot be read: "},
    {ScanStatus::badData, "The picture is incomplete: "},
    {ScanStatus::badData, "The scanner sent a different picture ("},
    {ScanStatus::ioError, "A USB transfer to or from the scanner failed (status 0x"},
    {ScanStatus::refused, "The scanner refused the scan. "},
};

// Gives the worker all the time that the machine needs. Reads as a front end with its own event loop.
class PatientScan : public frontend::SupervisedScan {
 public:
  PatientScan(const frontend::ScanRequest& request, const std::string& worker)
      : SupervisedScan(request, worker, longestPause, std::chrono::steady_clock::now, longestPause) {}

  // Reads to the end, or up to this byte. False where nothing happened for too long.
  bool read(std::uint64_t end) {
    while (bytes_ < end) {
      const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(buffer_.size(), end - bytes_));
      const auto count = readAvailable(buffer_.data(), wanted);
      if (count == std::size_t{0}) return true;
      bytes_ += count.value_or(0);
      if (!count && !isReadable()) return false;
    }
    return true;
  }
  std::uint64_t bytes() const { return bytes_; }

 private:
  bool isReadable() const {
    pollfd awaited{descriptor(), POLLIN, 0};
    return poll(&awaited, 1, static_cast<int>(std::chrono::milliseconds(longestPause).count())) != 0;
  }

  std::array<std::uint8_t, 65536> buffer_;
  std::uint64_t bytes_ = 0;
};

long largestChildKiB() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_maxrss;
}

std::uint32_t sideFor(Dice& dice, std::uint32_t least, std::uint32_t most) {
  return least + static_cast<std::uint32_t>(dice.below(most - least + 1));
}

// Small ones, for the sake of speed, and now and then one of up to a few megabytes. A probe needs a picture
// so large that the bound on all bytes is beyond that on the bytes of messages.
frontend::PixelArea areaFor(Dice& dice, bool probed) {
  if (probed) return {0, 0, sideFor(dice, 560, 620), sideFor(dice, 600, 700)};
  const std::uint32_t left = sideFor(dice, 0, 49);
  const std::uint32_t top = sideFor(dice, 0, 49);
  if (dice.oneIn(100)) return {left, top, sideFor(dice, 301, 2000), sideFor(dice, 200, 700)};
  return {left, top, sideFor(dice, 1, 120), sideFor(dice, 1, 90)};
}

// The byte of the picture after which the user cancels.
std::optional<std::uint64_t> cancelFor(std::uint32_t seed, std::uint64_t bytes) {
  Dice dice(std::uint64_t{seed} << 32);
  if (probeOf(seed) || !dice.oneIn(10)) return std::nullopt;
  return dice.oneIn(4) ? 0 : dice.below(static_cast<std::size_t>(bytes));
}

std::string complaintAboutWorker(const PatientScan& scan, long largestBefore) {
  if (!scan.workerEndedWell()) return "the worker did not exit with success";
  const long largest = largestChildKiB();
  if (largest <= largestWorkerKiB || largest <= largestBefore) return {};
  return "the worker took " + std::to_string(largest / 1024) + " MiB";
}

std::string complaintAboutOutcome(std::uint32_t seed, const PatientScan& scan, std::uint64_t bytes,
                                  bool cancelled) {
  const ScanOutcome& outcome = scan.outcome();
  if (cancelled) return outcome.status == ScanStatus::cancelled ? "" : "a cancelled scan goes on";
  if (!isDesigned(outcome)) return "no designed outcome";
  if (outcome.good() && scan.bytes() != bytes) return "a good scan without all of its bytes";
  const auto probe = probeOf(seed);
  if (!probe || outcome.sentence.starts_with(probe->outcome())) return {};
  return "the bound on " + std::string(probe->probe->name) +
         (probe->beyond ? " is missing" : " is too tight");
}

}  // namespace

frontend::ScanRequest requestFor(std::uint32_t seed) {
  Dice dice(~std::uint64_t{seed});
  frontend::ScanRequest request;
  request.scanner = "virtual";
  request.timeout = std::chrono::seconds(1 + dice.below(3));
  const auto mode = dice.oneIn(2) ? frontend::ColorMode::gray : frontend::ColorMode::color;
  const frontend::PixelArea area = areaFor(dice, probeOf(seed).has_value());
  const std::uint32_t resolution = area.width > 500 ? 300 : 75;
  request.settings = {resolution, mode, area};
  if (mode == frontend::ColorMode::gray && dice.oneIn(2)) request.threshold = dice.byte();
  if (!request.threshold && dice.oneIn(4)) request.tone.brightness = 10;
  request.virtualScanner.faults = {"stall:" + std::to_string(seed)};
  request.verbose = dice.oneIn(16);
  return request;
}

bool isDesigned(const ScanOutcome& outcome) {
  constexpr std::size_t longestSentence = 400;
  const std::string& sentence = outcome.sentence;
  const bool printable =
      std::all_of(sentence.begin(), sentence.end(), [](char c) { return c >= ' ' && c <= '~'; });
  const bool known = std::any_of(std::begin(designed), std::end(designed), [&](const Designed& one) {
    return one.status == outcome.status && sentence.starts_with(one.beginning);
  });
  return known && printable && sentence.size() <= longestSentence;
}

std::string complaintAbout(std::uint32_t seed, const std::string& worker, ScanOutcome* result) {
  const frontend::ScanRequest request = requestFor(seed);
  const std::uint64_t bytes = expectedLayout(request).bytes();
  const auto cancelAt = cancelFor(seed, bytes);
  const long largestBefore = largestChildKiB();
  PatientScan scan(request, worker);
  const bool responds = scan.read(cancelAt.value_or(UINT64_MAX));
  const bool cancelled = cancelAt && scan.bytes() == *cancelAt;
  if (!responds || cancelled) scan.cancel();
  scan.finish();
  if (result != nullptr) *result = scan.outcome();
  if (!responds) return "nothing happened for " + std::to_string(longestPause.count()) + " minutes";
  std::string complaint = complaintAboutOutcome(seed, scan, bytes, cancelled);
  if (complaint.empty()) complaint = complaintAboutWorker(scan, largestBefore);
  return complaint.empty() ? "" : complaint + ": " + scan.outcome().sentence;
}

std::string goodScan(const std::string& worker) {
  frontend::ScanRequest request;
  request.scanner = "virtual";
  request.settings = {75, frontend::ColorMode::color, {10, 20, 64, 48}};
  PatientScan scan(request, worker);
  const bool responds = scan.read(UINT64_MAX);
  scan.finish();
  if (!responds) return "the worker stopped responding";
  return scan.bytes() == expectedLayout(request).bytes() ? scan.outcome().sentence : "bytes are missing";
}

}  // namespace hostile
