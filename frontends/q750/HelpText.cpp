#include "HelpText.h"

#include <cstdio>

#include "Bed.h"
#include "ExitCode.h"
#include "PaperSize.h"
#include "VirtualOptions.h"

namespace frontend::help {
namespace {

std::string areas() {
  char bed[60];
  std::snprintf(bed, sizeof bed, "%.1f x %.1f mm", bedWidthInches * millimetresPerInch,
                bedHeightInches * millimetresPerInch);
  return "Areas: LEFTxTOP+WIDTHxHEIGHT, measured from the top left corner of the scan bed.\n"
         "  A unit (mm, in or px) follows every number, or only the last one and then applies to all:\n"
         "    10x20+50x80mm   10mmx20mm+2inx3in   0.5x0.5+4x6in   0x0+640x480px\n"
         "  px are pixels of the picture. Parts outside the scan bed (" +
         std::string(bed) + ") are cut off.\n";
}

constexpr char output[] =
    "The file appears under its name only when it is complete. It then replaces an older file of that name,\n"
    "with a note, unless --no-clobber is given.\n";

constexpr char pages[] =
    "With --pages the program prompts before every page but the first: Enter scans it, r scans the last "
    "page\n"
    "again, q saves the pages so far. They are saved after an error and after Ctrl-C, too. A TIFF or PDF "
    "file\n"
    "holds all pages. In the other formats each page is a file of its own, with its number in place of %d\n"
    "(or %03d) or before the extension: page-1.png, page-2.png, ... A percent sign is written %%.\n";

std::string defaults(const UserDefaults& inForce) {
  if (!inForce.values.empty()) {
    std::string text = "Defaults from " + inForce.path + ":\n";
    for (const auto& [name, value] : inForce.values) text += "  " + name + " = " + value + "\n";
    return text;
  }
  return "Lines such as \"resolution = 150\" in $XDG_CONFIG_HOME/q750/config, or else ~/.config/q750/config, "
         "set your "
         "own\ndefaults, see q750(1).\n";
}

constexpr char doctor[] =
    "Checks that the parts of this program are installed, that scanners are connected and that you may use\n"
    "them, and scans a few pixels with each, or with the virtual scanner if there is no real one. Each line\n"
    "begins with ok (no problem), note (worth knowing) or attention (needs to be fixed). The exit code is\n"
    "that of the first line that needs attention. Without --device, it also checks whether the scanner can\n"
    "be shared with the network.\n";

constexpr char server[] =
    "Programs on this machine or on another then find the scanner as a USB device: the Linux kernel\n"
    "attaches it over USB/IP with the two commands that are printed. To detach it, run usbip detach -p 00;\n"
    "usbip port lists the numbers. Ctrl-C ends the program and unplugs the scanner.\n"
    "\n"
    "Anyone who can reach the address can use the scanner and see what is on its glass: there is no\n"
    "authentication and no encryption. Listen on addresses other than 127.0.0.1 and [::1] only in a network\n"
    "that you trust.\n";

std::string faults() {
  return "Faults, each with its default N:\n" + faultHelp();
}

}  // namespace

std::string ofProgram() {
  return "See q750 COMMAND --help for the options of a command, and q750(1) for details.\n\n" +
         exitCodeTable();
}

std::string ofScan(const UserDefaults& userDefaults) {
  return areas() + "\nPapers:\n" + paperHelp() + "\n" + output + "\n" + pages + "\n" +
         defaults(userDefaults) + "\n" + faults() + "\n" + exitCodeTable();
}

std::string ofDoctor() {
  return std::string(doctor) + "\n" + exitCodeTable();
}

std::string ofVirtual() {
  return std::string(server) + "\n" + faults() + "\n" + exitCodeTable();
}

}  // namespace frontend::help
