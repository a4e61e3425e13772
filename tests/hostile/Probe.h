#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "HostilePackets.h"
#include "IOReturn.h"

namespace hostile {

// The properties of the scan that a probe uses.
struct ProbedScan {
  std::uint64_t rasterBytes;
  std::uint32_t timeoutMs;  // for silence
};

// The effects of a probing device; an honest one has none of them.
struct ProbeEffects {
  Packets packets;               // of the job stream
  std::uint64_t firstReads = 0;  // of the job stream, which bring no byte but this status
  platform::IOReturn firstStatus = platform::kIOReturnSuccess;
  std::size_t largest = SIZE_MAX;  // bytes of one read of the job stream
  std::uint32_t readMs = 0;        // that it takes
  bool silentAfterwards = false;   // every transfer times out from the first call after the job stream on
};

// A bound of the worker, and a device that is honest but for this one thing, which it does a tenth within the
// bound or a tenth beyond it. How its scan must end is known, unlike that of a device that does many things:
// this is how a bound that is missing or too tight is noticed, although the others hold. Immutable.
struct Probe {
  std::string_view name;
  std::string_view outcomeWithin;  // the beginning of its sentence
  std::string_view outcomeBeyond;
  // Changes the effects, which hold the packets of the honest device.
  void (*disturb)(ProbeEffects& effects, const ProbedScan& scan, bool beyond);
  bool inAnswers = false;  // `effects` are those of the first answer, not of the job stream
};

std::span<const Probe> allProbes();

// A probe, on one side of its bound.
struct ProbedSide {
  const Probe* probe;
  bool beyond;

  std::string_view outcome() const { return beyond ? probe->outcomeBeyond : probe->outcomeWithin; }
};

// What the device with this seed probes; nothing for most seeds.
std::optional<ProbedSide> probeOf(std::uint64_t seed);

}  // namespace hostile
