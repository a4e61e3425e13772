#include "ListCommand.h"

#include "Console.h"
#include "ScannerInventory.h"

namespace frontend {

void runList(const ListOptions& options) {
  const ScannerInventory inventory = takeInventory();
  if (options.json) return console::print(inventoryAsJson(inventory));
  console::print(scannerTable(inventory.scanners));
  if (!inventory.problem.empty()) console::log(inventory.problem);
}

}  // namespace frontend
