#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace frontend::share {

// The states of a job. A job begins as pending and ends in one of the last three.
enum class JobState : std::uint8_t {
  pending,     // created; the worker opens the scanner, which warms up
  processing,  // rows arrive
  completed,   // the page is encoded, whether or not a client has fetched it
  canceled,    // by the client, or because it disconnected
  aborted,     // the scan failed
};

// As eSCL spells them, in the order of the enumeration.
inline constexpr std::array<std::string_view, 5> jobStateNames = {"Pending", "Processing", "Completed",
                                                                  "Canceled", "Aborted"};

constexpr bool hasEnded(JobState state) {
  return state >= JobState::completed;
}

}  // namespace frontend::share
