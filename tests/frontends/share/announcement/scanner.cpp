// A server's announcement of a scanner on an emulated USB, without the server. Obeys the lines "unplug" and
// "plug in" of standard input and prints what is logged.

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "EmulatedUsbfs.h"
#include "Sharing.h"

namespace {

using namespace frontend;
using namespace frontend::share;

// One write for each line: several threads print.
void print(const std::string& line) {
  const std::string whole = line + "\n";
  if (write(STDOUT_FILENO, whole.data(), whole.size()) < 0) std::perror("scanner");
}

SharingSetup setup() {
  SharingSetup setup;
  setup.identity = identityOf({"0123456789abcdef0123456789abcdef", "myhost"}, "usb", "");
  setup.listening = {"[::]:8750"};
  return setup;
}

}  // namespace

int main() {
  virtualscanner::VirtualScanner scanner(virtualscanner::Paper::testChart(), {});
  EmulatedUsbfs usb(scanner, {});
  setenv("LD_PRELOAD", Q750_PRELOAD, 1);  // for the worker that lists
  const auto list = [] {
    ScannerSearch search(Q750_WORKER);
    return listScanners(search, false).scanners;
  };
  const Sharing sharing(setup(), list, print);
  for (std::string line; std::getline(std::cin, line);) {
    if (line == "unplug") usb.unplug();
    if (line == "plug in") usb.plugIn();
  }
}
