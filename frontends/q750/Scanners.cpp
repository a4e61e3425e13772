#include "Scanners.h"

#include <algorithm>

#include "CommandError.h"
#include "JsonObject.h"
#include "ScannerName.h"

namespace frontend {
namespace {

const ScannerEntry* entryNamed(const std::string& name, const std::vector<ScannerEntry>& scanners) {
  const auto found = std::find_if(scanners.begin(), scanners.end(),
                                  [&name](const ScannerEntry& entry) { return entry.name == name; });
  return found == scanners.end() ? nullptr : &*found;
}

[[noreturn]] void complainOfNone(const std::string& asked, const ScannersThere& there) {
  const std::string problem = there.problem.empty() ? "" : " (" + there.problem + ")";
  throw CommandError(ExitCode::noDevice, "--device " + asked + ": there is no such scanner" + problem +
                                             ". These are there:\n" + scannerTable(there.entries) +
                                             "Choose one of them.");
}

void complainUnlessAccessible(const ScannerEntry& entry) {
  if (!entry.accessible) throw CommandError(ExitCode::accessDenied, entry.name + ": " + entry.hint);
}

std::vector<ScannerEntry> realOnes(const ScannersThere& there) {
  std::vector<ScannerEntry> real;
  std::copy_if(there.entries.begin(), there.entries.end(), std::back_inserter(real),
               [](const ScannerEntry& entry) { return !entry.isVirtual; });
  return real;
}

std::string chooseNamed(const std::string& asked, bool virtualWanted, const ScannersThere& there) {
  const auto name = parseScannerName(asked);
  if (!name) complainOfNone(asked, there);
  if (name->isVirtual) return asked;
  if (virtualWanted) {
    throw UsageError("--device " + asked +
                     ": the options that begin with --virtual are for the virtual scanner only. Leave them "
                     "out, or choose --device virtual.");
  }
  const std::vector<ScannerEntry> real = realOnes(there);
  if (!name->location) {
    if (real.empty()) complainOfNone(asked, there);
    if (real.size() == 1) complainUnlessAccessible(real.front());
    return asked;
  }
  const ScannerEntry* entry = entryNamed(asked, real);
  if (entry == nullptr) complainOfNone(asked, there);
  complainUnlessAccessible(*entry);
  return asked;
}

}  // namespace

ScannersThere scannersThere() {
  ScannersThere there;
  there.entries = listScanners(true, &there.problem);
  return there;
}

std::string scannerTable(const std::vector<ScannerEntry>& scanners) {
  std::size_t widest = 0;
  for (const ScannerEntry& scanner : scanners) widest = std::max(widest, scanner.name.size());
  std::string table;
  for (const ScannerEntry& scanner : scanners) {
    table += scanner.name + std::string(widest - scanner.name.size() + 2, ' ') + scanner.vendor + " " +
             scanner.model + (scanner.isVirtual ? " (virtual)" : "") + "\n";
    if (!scanner.hint.empty()) table += "  " + scanner.hint + "\n";
  }
  return table;
}

std::string scannersAsJson(const ScannersThere& there) {
  std::vector<JsonObject> scanners;
  for (const ScannerEntry& scanner : there.entries) {
    scanners.emplace_back()
        .text("name", scanner.name)
        .text("vendor", scanner.vendor)
        .text("model", scanner.model)
        .text("type", scanner.type)
        .boolean("virtual", scanner.isVirtual)
        .boolean("accessible", scanner.accessible)
        .text("hint", scanner.hint);
  }
  return JsonObject().array("scanners", scanners).text("problem", there.problem).document();
}

std::string chooseScanner(const std::string& asked, bool virtualWanted, const ScannersThere& there) {
  if (!asked.empty()) return chooseNamed(asked, virtualWanted, there);
  const std::vector<ScannerEntry> real = realOnes(there);
  if (virtualWanted || real.empty()) return "virtual";
  if (real.size() > 1) {
    throw UsageError("There are several scanners:\n" + scannerTable(real) +
                     "Choose one of them with --device NAME.");
  }
  complainUnlessAccessible(real.front());
  return real.front().name;
}

}  // namespace frontend
