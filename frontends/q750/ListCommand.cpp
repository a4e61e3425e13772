#include "ListCommand.h"

#include "CommandError.h"
#include "Console.h"

namespace frontend {

void runList(const ListOptions& options) {
  printInventory(takeInventory(), options.json);
}

void printInventory(const ScannerInventory& inventory, bool json) {
  console::print(json ? inventoryAsJson(inventory) : scannerTable(inventory.scanners));
  if (inventory.problem.empty()) return;
  if (inventory.code != ExitCode::noDevice) throw CommandError(inventory.code, inventory.problem);
  if (!json) console::log(inventory.problem);
}

}  // namespace frontend
