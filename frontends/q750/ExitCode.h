#pragma once

#include <cstdint>
#include <string>

#include "ScanOutcome.h"

namespace frontend {

// What the program returns to its caller. Scripts rely on these: a number never changes its meaning.
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

ExitCode exitCodeFor(ScanStatus status);

// One word for programs, "timed-out". Never changes its meaning either.
std::string nameOf(ExitCode code);

// One line for each code, for the help.
std::string exitCodeTable();

}  // namespace frontend
