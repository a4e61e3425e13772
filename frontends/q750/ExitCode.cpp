#include "ExitCode.h"

#include <cstdio>

namespace frontend {
namespace {

struct Meaning {
  ExitCode code;
  const char* name;
  const char* text;
};

constexpr Meaning meanings[] = {
    {ExitCode::good, "good", "done"},
    {ExitCode::usage, "usage", "the command line is wrong, or the paper cannot be read"},
    {ExitCode::noDevice, "no-device", "there is no such scanner, or it went away"},
    {ExitCode::busy, "busy", "the scanner, or the address to listen at, is in use by another program"},
    {ExitCode::accessDenied, "access-denied",
     "no permission to use the scanner, or to listen at the address"},
    {ExitCode::timedOut, "timed-out", "the scanner does not answer"},
    {ExitCode::badData, "bad-data", "what the scanner sent is no whole picture"},
    {ExitCode::ioError, "io-error", "a USB transfer failed"},
    {ExitCode::refused, "refused", "the scanner refused the scan"},
    {ExitCode::output, "output", "the picture cannot be written"},
    {ExitCode::noMemory, "no-memory", "there is not enough memory"},
    {ExitCode::cancelled, "cancelled", "the scan was cancelled"},
};

}  // namespace

ExitCode exitCodeFor(ScanStatus status) {
  switch (status) {
    case ScanStatus::good:
      return ExitCode::good;
    case ScanStatus::cancelled:
      return ExitCode::cancelled;
    case ScanStatus::noDevice:
      return ExitCode::noDevice;
    case ScanStatus::busy:
      return ExitCode::busy;
    case ScanStatus::accessDenied:
      return ExitCode::accessDenied;
    case ScanStatus::timedOut:
      return ExitCode::timedOut;
    case ScanStatus::badData:
      return ExitCode::badData;
    case ScanStatus::ioError:
      return ExitCode::ioError;
    case ScanStatus::refused:
      return ExitCode::refused;
    case ScanStatus::noMemory:
      return ExitCode::noMemory;
  }
  return ExitCode::ioError;
}

std::string nameOf(ExitCode code) {
  for (const Meaning& meaning : meanings) {
    if (meaning.code == code) return meaning.name;
  }
  return "";
}

std::string exitCodeTable() {
  std::string table = "Exit codes:\n";
  for (const Meaning& meaning : meanings) {
    char line[100];
    std::snprintf(line, sizeof line, "  %3d  %s\n", static_cast<int>(meaning.code), meaning.text);
    table += line;
  }
  return table;
}

}  // namespace frontend
