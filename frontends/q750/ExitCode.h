#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "ScanOutcome.h"

namespace frontend {

// The exit codes of the program. Scripts rely on them: a number never changes its meaning.
enum class ExitCode : std::uint8_t {
  good = 0,
  usage = 1,
  noDevice = 2,
  busy = 3,
  accessDenied = 4,
  timedOut = 5,
  badData = 6,
  ioError = 7,
  refused = 8,
  output = 9,
  noMemory = 10,
  cancelled = 130,  // 128 + SIGINT, as shells report a program that Ctrl-C ended
};

struct ExitCodeDescription {
  ExitCode code;
  std::optional<ScanStatus> status;  // the outcome of a scan that it reports, if it does
  std::string_view name;             // one word for programs, "timed-out"; never changes its meaning either
  std::string_view meaning;          // a clause
};

// Every exit code there is, in ascending order.
std::span<const ExitCodeDescription> exitCodes();

ExitCode exitCodeFor(ScanStatus status);
std::string nameOf(ExitCode code);

// A line for each code, for the help.
std::string exitCodeTable();

}  // namespace frontend
