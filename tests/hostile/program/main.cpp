// Scans with devices that do what no scanner would, one for each seed, and prints what is wrong with any of
// the scans. Started by tools/hostile.
#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include "HostileScan.h"

namespace {

constexpr std::uint32_t scansBetweenGoodOnes = 100;
// Of this process, from the hundredth scan on.
constexpr long largestGrowthKiB = 4096;
constexpr char wellEnded[] = "The page was scanned.";

// What the workers and this process write to standard error, from now on.
class StandardError {
 public:
  StandardError() : file_(memfd_create("stderr", MFD_CLOEXEC)) { dup2(file_, STDERR_FILENO); }

  // Whether anything but printable ASCII and line feeds arrived since the last call.
  bool hasUnprintable() {
    std::string text(65536, '\0');
    bool found = false;
    lseek(file_, 0, SEEK_SET);
    for (ssize_t count = 0; (count = read(file_, text.data(), text.size())) > 0;) {
      found = found || std::any_of(text.begin(), text.begin() + count,
                                   [](char c) { return (c < ' ' || c > '~') && c != '\n'; });
    }
    lseek(file_, 0, SEEK_SET);  // the offset that the workers write at, too
    [[maybe_unused]] const int emptied = ftruncate(file_, 0);
    return found;
  }

 private:
  int file_;
};

long residentKiB() {
  std::ifstream file("/proc/self/statm");
  long total = 0;
  long resident = 0;
  file >> total >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

std::ptrdiff_t openDescriptors() {
  std::ptrdiff_t count = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (folder != nullptr && readdir(folder) != nullptr) ++count;
  if (folder != nullptr) closedir(folder);
  return count;
}

struct Totals {
  std::uint32_t scans = 0;
  std::uint32_t findings = 0;
  std::map<frontend::ScanStatus, std::uint32_t> outcomes;
  long residentBeforeKiB = 0;
  std::uint64_t digest = 0;  // of all outcomes: the same on every machine, however busy it is

  void note(std::uint32_t seed, const frontend::ScanOutcome& outcome) {
    ++outcomes[outcome.status];
    constexpr std::uint64_t prime = 0x100000001B3U;  // FNV-1a
    std::uint64_t one = 0xCBF29CE484222325U ^ seed;
    for (const char character : outcome.sentence) one = (one ^ static_cast<unsigned char>(character)) * prime;
    digest += one;
  }
};

void report(Totals& totals, std::uint32_t seed, const std::string& complaint) {
  if (complaint.empty()) return;
  ++totals.findings;
  std::printf("seed %u: %s\n", seed, complaint.c_str());
  std::fflush(stdout);
}

// The application is as it was: it can scan, and holds no more than before.
std::string complaintAboutThisProcess(Totals& totals, const std::string& goodWorker,
                                      std::ptrdiff_t descriptors) {
  if (const std::string outcome = hostile::goodScan(goodWorker); outcome != wellEnded)
    return "no good scan afterwards: " + outcome;
  if (openDescriptors() != descriptors) return "descriptors are left open";
  const long resident = residentKiB();
  if (totals.residentBeforeKiB == 0) totals.residentBeforeKiB = resident;
  const long growth = resident - totals.residentBeforeKiB;
  return growth > largestGrowthKiB ? "this process grew by " + std::to_string(growth) + " KiB" : "";
}

void printTotals(const Totals& totals) {
  rusage workers{};
  getrusage(RUSAGE_CHILDREN, &workers);
  std::printf(
      "{\"scans\": %u, \"findings\": %u, \"worker_kib\": %ld, \"growth_kib\": %ld, \"digest\": %llu, ",
      totals.scans, totals.findings, workers.ru_maxrss, residentKiB() - totals.residentBeforeKiB,
      static_cast<unsigned long long>(totals.digest));
  std::printf("\"outcomes\": [");
  const char* separator = "";
  for (int status = 0; status <= static_cast<int>(frontend::ScanStatus::noMemory);
       ++status, separator = ", ") {
    const auto found = totals.outcomes.find(static_cast<frontend::ScanStatus>(status));
    std::printf("%s%u", separator, found == totals.outcomes.end() ? 0 : found->second);
  }
  std::puts("]}");
}

std::uint32_t numberOf(std::string_view text) {
  std::uint32_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

}  // namespace

// HOSTILE-WORKER WORKER FIRST-SEED COUNT
int main(int argc, char** argv) {
  if (argc != 5) return 2;
  const std::string hostileWorker = argv[1];
  const std::string goodWorker = argv[2];
  const std::uint32_t first = numberOf(argv[3]);
  const std::uint32_t count = numberOf(argv[4]);
  StandardError standardError;
  Totals totals;
  const std::ptrdiff_t descriptors = openDescriptors();
  for (std::uint32_t seed = first; seed - first < count; ++seed) {
    frontend::ScanOutcome outcome;
    report(totals, seed, hostile::complaintAbout(seed, hostileWorker, &outcome));
    totals.note(seed, outcome);
    if (standardError.hasUnprintable()) report(totals, seed, "unprintable bytes on standard error");
    if (++totals.scans % scansBetweenGoodOnes == 0 || totals.scans == count)
      report(totals, seed, complaintAboutThisProcess(totals, goodWorker, descriptors));
  }
  printTotals(totals);
  return totals.findings == 0 ? 0 : 1;
}
