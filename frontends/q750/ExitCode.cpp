#include "ExitCode.h"

#include <cstdio>

namespace frontend {
namespace {

struct Meaning {
  ExitCode code;
  const char* text;
};

constexpr Meaning meanings[] = {
    {ExitCode::good, "done"},
    {ExitCode::usage, "the command line is wrong, or the paper cannot be read"},
    {ExitCode::noDevice, "there is no such scanner, or it went away"},
    {ExitCode::busy, "the scanner, or the address to listen at, is in use by another program"},
    {ExitCode::accessDenied, "no permission to use the scanner, or to listen at the address"},
    {ExitCode::timedOut, "the scanner does not answer"},
    {ExitCode::badData, "what the scanner sent is no whole picture"},
    {ExitCode::ioError, "a USB transfer failed"},
    {ExitCode::refused, "the scanner refused the scan"},
    {ExitCode::output, "the picture cannot be written"},
    {ExitCode::noMemory, "there is not enough memory"},
    {ExitCode::cancelled, "the scan was cancelled"},
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
