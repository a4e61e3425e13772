#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace virtualscanner {

// What can go wrong on purpose. What the position of each counts, and what happens there, stands in
// faultTable().
enum class FaultKind : std::uint8_t {
  stall,
  timeOut,
  shortWrite,
  unplug,
  exceptionReply,
  splitReply,
  garbageReply,
  garbage,
  truncatedImage,
  wrongHeader,
  silence,
};

// One thing that goes wrong once, at a position of its own kind. Counting starts anew when the scanner is
// plugged in and when faults are set.
struct Fault {
  FaultKind kind;
  std::uint32_t position;

  friend bool operator==(const Fault&, const Fault&) = default;
};

struct FaultDescription {
  FaultKind kind;
  std::string_view name;            // as a command line offers it, "short-write"
  std::uint32_t defaultPosition;    // where it is instructive
  std::string_view positionCounts;  // "transfers, reads and writes together, from 1"
  std::string_view effect;          // one sentence
};

// All kinds, in the order of the enumeration.
std::span<const FaultDescription> faultTable();
const FaultDescription& describe(FaultKind kind);
// A name, or a name and a position ("stall", "stall@7"). Nothing for an unknown name or a position that is
// not a decimal number of 32 bits.
std::optional<Fault> parseFault(std::string_view text);

}  // namespace virtualscanner
