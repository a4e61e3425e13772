#include "HostileScan.h"

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>

#include "Dice.h"
#include "SupervisedScan.h"

namespace hostile {
namespace {

using frontend::ScanOutcome;
using frontend::ScanStatus;
using Clock = std::chrono::steady_clock;

// Nothing in a scan takes real time; a machine with many other tasks does.
constexpr std::chrono::seconds longestScan(20);
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
    {ScanStatus::timedOut, "The scanner stopped within the picture: "},
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

std::uint64_t readAll(frontend::SupervisedScan& scan) {
  std::array<std::uint8_t, 65536> buffer;
  std::uint64_t bytes = 0;
  while (const std::size_t count = scan.read(buffer.data(), buffer.size())) bytes += count;
  return bytes;
}

long largestChildKiB() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_maxrss;
}

}  // namespace

frontend::ScanRequest requestFor(std::uint32_t seed) {
  Dice dice(~std::uint64_t{seed});
  frontend::ScanRequest request;
  request.scanner = "virtual";
  request.timeout = std::chrono::seconds(1 + dice.below(3));
  const auto mode = dice.oneIn(2) ? frontend::ColorMode::gray : frontend::ColorMode::color;
  request.settings = {
      75,
      mode,
      {static_cast<std::uint32_t>(dice.below(50)), static_cast<std::uint32_t>(dice.below(50)),
       static_cast<std::uint32_t>(1 + dice.below(120)), static_cast<std::uint32_t>(1 + dice.below(90))}};
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

std::string complaintAbout(std::uint32_t seed, const std::string& worker, ScanStatus* status) {
  const frontend::ScanRequest request = requestFor(seed);
  const auto begin = Clock::now();
  const long largestBefore = largestChildKiB();
  frontend::SupervisedScan scan(request, worker);
  const std::uint64_t bytes = readAll(scan);
  scan.finish();
  const ScanOutcome& outcome = scan.outcome();
  if (status != nullptr) *status = outcome.status;
  if (!isDesigned(outcome)) return "no designed outcome: " + outcome.sentence;
  if (outcome.good() && bytes != expectedLayout(request).bytes())
    return "a good scan without all of its bytes";
  if (!scan.workerEndedWell()) return "the worker did not exit with success: " + outcome.sentence;
  if (Clock::now() - begin > longestScan) return "it took too long: " + outcome.sentence;
  const long largest = largestChildKiB();
  if (largest > largestWorkerKiB && largest > largestBefore)
    return "the worker took " + std::to_string(largest / 1024) + " MiB: " + outcome.sentence;
  return {};
}

std::string goodScan(const std::string& worker) {
  frontend::ScanRequest request;
  request.scanner = "virtual";
  request.settings = {75, frontend::ColorMode::color, {10, 20, 64, 48}};
  frontend::SupervisedScan scan(request, worker);
  const std::uint64_t bytes = readAll(scan);
  scan.finish();
  return bytes == expectedLayout(request).bytes() ? scan.outcome().sentence : "bytes are missing";
}

}  // namespace hostile
