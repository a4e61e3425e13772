#include "ExitCode.h"

#include <cstdio>

namespace frontend {
namespace {

constexpr ExitCodeDescription descriptions[] = {
    {ExitCode::good, ScanStatus::good, "good", "success"},
    {ExitCode::usage, std::nullopt, "usage",
     "the command line is invalid, or the virtual paper cannot be read"},
    {ExitCode::noDevice, ScanStatus::noDevice, "no-device", "the scanner was not found, or was disconnected"},
    {ExitCode::busy, ScanStatus::busy, "busy",
     "another program uses the scanner or the address to listen on"},
    {ExitCode::accessDenied, ScanStatus::accessDenied, "access-denied",
     "no permission to use the scanner or to listen on the address"},
    {ExitCode::timedOut, ScanStatus::timedOut, "timed-out", "the scanner does not respond"},
    {ExitCode::badData, ScanStatus::badData, "bad-data", "the scanner sent an invalid or incomplete picture"},
    {ExitCode::ioError, ScanStatus::ioError, "io-error", "a USB transfer or the worker program failed"},
    {ExitCode::refused, ScanStatus::refused, "refused", "the scanner refused the scan"},
    {ExitCode::output, std::nullopt, "output", "the output cannot be written"},
    {ExitCode::noMemory, ScanStatus::noMemory, "no-memory", "out of memory"},
    {ExitCode::cancelled, ScanStatus::cancelled, "cancelled", "the scan was cancelled"},
};

}  // namespace

std::span<const ExitCodeDescription> exitCodes() {
  return descriptions;
}

ExitCode exitCodeFor(ScanStatus status) {
  for (const ExitCodeDescription& description : descriptions) {
    if (description.status == status) return description.code;
  }
  return ExitCode::ioError;
}

std::string nameOf(ExitCode code) {
  for (const ExitCodeDescription& description : descriptions) {
    if (description.code == code) return std::string(description.name);
  }
  return "";
}

std::string exitCodeTable() {
  std::string table = "Exit codes:\n";
  for (const ExitCodeDescription& description : descriptions) {
    char number[16];
    std::snprintf(number, sizeof number, "  %3d  ", static_cast<int>(description.code));
    table += number + std::string(description.meaning) + "\n";
  }
  return table;
}

}  // namespace frontend
