#include "ScannerInventory.h"

#include <algorithm>
#include <utility>

#include "CommandError.h"
#include "JsonObject.h"
#include "ScannerName.h"

namespace frontend {
namespace {

std::string problemIn(const ScannerInventory& inventory) {
  return inventory.problem.empty() ? "" : " (" + inventory.problem + ")";
}

[[noreturn]] void throwNotFound(const std::string& requested, const ScannerInventory& inventory) {
  throw CommandError(ExitCode::noDevice, "--device " + requested + ": no such scanner" +
                                             problemIn(inventory) + ". Available scanners:\n" +
                                             scannerTable(inventory.scanners) + "Choose one of them.");
}

[[noreturn]] void throwNoneConnected(const ScannerInventory& inventory) {
  const std::string why = inventory.problem.empty()
                              ? "No Quenvar Q750 is connected. Check its cable and its power."
                              : "No Quenvar Q750 can be found" + problemIn(inventory) + ".";
  throw CommandError(ExitCode::noDevice,
                     why + " To scan from the virtual scanner instead, add --device virtual.");
}

// Before the worker tries: it could report only that the system denied the access, not what to do about it.
void requireAccess(const ScannerEntry& scanner) {
  if (!scanner.accessible) throw CommandError(ExitCode::accessDenied, scanner.name + ": " + scanner.hint);
}

std::vector<ScannerEntry> realScanners(const ScannerInventory& inventory) {
  std::vector<ScannerEntry> real;
  std::copy_if(inventory.scanners.begin(), inventory.scanners.end(), std::back_inserter(real),
               [](const ScannerEntry& scanner) { return !scanner.isVirtual; });
  return real;
}

using TakeInventory = std::function<ScannerInventory()>;

// For a real scanner. If USB does not work, there is no scanner; if it could not be examined, whether there
// is one is unknown.
ScannerInventory inventoryOf(const TakeInventory& take) {
  ScannerInventory inventory = take();
  if (!inventory.problem.empty() && inventory.code != ExitCode::noDevice)
    throw CommandError(inventory.code, inventory.problem);
  return inventory;
}

void checkNamed(const std::string& requested, bool virtualOptionsUsed, const TakeInventory& take) {
  // As of "$SCANNER" where the variable is not set: whoever wrote that did not mean any scanner.
  if (requested.empty())
    throw CommandError(ExitCode::noDevice, "--device: the name is empty. See q750 list for the names.");
  const auto name = parseScannerName(requested);
  if (!name) throwNotFound(requested, take());
  if (name->isVirtual) return;
  if (virtualOptionsUsed) {
    throw UsageError(
        "--device " + requested +
        ": options that begin with --virtual apply to the virtual scanner only. Leave them out, or "
        "choose --device virtual.");
  }
  const ScannerInventory inventory = inventoryOf(take);
  const std::vector<ScannerEntry> real = realScanners(inventory);
  if (!name->location) {
    if (real.empty()) throwNotFound(requested, inventory);
    // Of several, the worker takes the first that opens.
    if (real.size() == 1) requireAccess(real.front());
    return;
  }
  const auto scanner = std::find_if(
      real.begin(), real.end(), [&requested](const ScannerEntry& entry) { return entry.name == requested; });
  if (scanner == real.end()) throwNotFound(requested, inventory);
  requireAccess(*scanner);
}

}  // namespace

ScannerInventory takeInventory() {
  Cancellation never;
  return takeInventory(never);
}

ScannerInventory takeInventory(Cancellation& cancellation) {
  ScannerSearch search;
  const Cancellation::Aim aim(cancellation, search);
  ScannerList list = listScanners(search, true);
  if (list.outcome.good()) return {std::move(list.scanners), ""};
  return {std::move(list.scanners), list.outcome.sentence, exitCodeFor(list.outcome.status)};
}

std::string scannerTable(const std::vector<ScannerEntry>& scanners) {
  std::size_t widest = 0;
  for (const ScannerEntry& scanner : scanners) widest = std::max(widest, scanner.name.size());
  std::string table;
  for (const ScannerEntry& scanner : scanners) {
    table += scanner.name + std::string(widest - scanner.name.size() + 2, ' ') + scanner.vendor + " " +
             scanner.model + "\n";
    if (!scanner.hint.empty()) table += "  " + scanner.hint + "\n";
  }
  return table;
}

std::string inventoryAsJson(const ScannerInventory& inventory) {
  std::vector<JsonObject> scanners;
  for (const ScannerEntry& scanner : inventory.scanners) {
    scanners.emplace_back()
        .text("name", scanner.name)
        .text("vendor", scanner.vendor)
        .text("model", scanner.model)
        .text("type", scanner.type)
        .boolean("virtual", scanner.isVirtual)
        .boolean("accessible", scanner.accessible)
        .text("hint", scanner.hint);
  }
  return versionedDocument().array("scanners", scanners).text("problem", inventory.problem).document();
}

std::string chooseScanner(const std::optional<std::string>& requested, bool virtualOptionsUsed,
                          const std::function<ScannerInventory()>& take) {
  if (requested) {
    checkNamed(*requested, virtualOptionsUsed, take);
    return *requested;
  }
  if (virtualOptionsUsed) return std::string(virtualScannerName);
  const ScannerInventory inventory = inventoryOf(take);
  const std::vector<ScannerEntry> real = realScanners(inventory);
  if (real.empty()) throwNoneConnected(inventory);
  if (real.size() > 1) {
    throw UsageError("There are several scanners:\n" + scannerTable(real) +
                     "Choose one of them with --device NAME.");
  }
  requireAccess(real.front());
  return real.front().name;
}

}  // namespace frontend
