#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// The faults that a virtual scanner can be given: their kinds, their names and how they are written. What
// happens when one is due is up to FaultPlan and VirtualScanner. Constants and pure functions.
namespace virtualscanner {

// What can go wrong on purpose. faultTable() gives what the position of each counts and what happens there.
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
  std::string_view name;            // as users write it, "short-write"
  std::uint32_t defaultPosition;    // where it is instructive
  std::string_view positionCounts;  // "writes, from 1"
  std::string_view effect;          // one clause
};

// All kinds, in the order of the enumeration.
std::span<const FaultDescription> faultTable();
const FaultDescription& describe(FaultKind kind);

// Reads "stall:7", or "stall" for the default position. "stall@7", as older configuration files have it, is
// the same. Nothing for an unknown name or a position that is not a decimal number of 32 bits.
std::optional<Fault> parseFault(std::string_view text);
// The fault as parseFault() reads it, always with its position: "stall:7".
std::string textOf(const Fault& fault);

}  // namespace virtualscanner
