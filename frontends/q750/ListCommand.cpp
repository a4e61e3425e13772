#include "ListCommand.h"

#include "Console.h"
#include "Scanners.h"
#include "StandardOutput.h"

namespace frontend {

void runList(const ListOptions& options) {
  const ScannersThere there = scannersThere();
  if (options.json) return show(scannersAsJson(there));
  show(scannerTable(there.entries));
  if (!there.problem.empty()) console::say(there.problem);
}

}  // namespace frontend
