#include "Probe.h"

#include <algorithm>
#include <iterator>

#include "Dice.h"
#include "PacketFormat.h"

namespace hostile {
namespace {

// The bounds, as docs/robustness.md publishes them: repeated here, because a bound that was changed by
// mistake in the worker must not move the probe as well.
constexpr std::uint64_t mebibyte = 1024 * 1024;

std::uint64_t packetsBound(const ProbedScan& scan) {
  return 100'000 + scan.rasterBytes / 16;
}
std::uint64_t bytesBound(const ProbedScan& scan) {
  return 2 * scan.rasterBytes + mebibyte + wire::packetHeaderSize * packetsBound(scan);
}
std::uint64_t jobMsBound(const ProbedScan& scan) {
  return 60'000 + scan.timeoutMs + scan.rasterBytes / 64;
}

std::uint64_t sideOf(std::uint64_t bound, bool beyond) {
  return beyond ? bound + bound / 10 : bound - bound / 10;
}

void begin(ProbeEffects& effects, Packet first) {
  effects.packets.insert(effects.packets.begin(), std::move(first));
}

std::uint64_t bytesIn(const Packets& packets) {
  std::uint64_t bytes = 0;
  for (const Packet& packet : packets) bytes += wire::packetHeaderSize + packet.payload.size();
  return bytes;
}

void sendEmptyPackets(ProbeEffects& effects, const ProbedScan& scan, bool beyond) {
  begin(effects, packet(wire::beginImagePage, {}, sideOf(packetsBound(scan), beyond)));
}

void sendBytes(ProbeEffects& effects, const ProbedScan& scan, bool beyond) {
  constexpr std::size_t each = 32768;
  const std::uint64_t wanted = sideOf(bytesBound(scan), beyond) - bytesIn(effects.packets);
  begin(effects, packet(wire::beginImagePage, std::string(each, 'b'), wanted / each + (beyond ? 1 : 0)));
}

void sendNothing(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  effects.firstReads = sideOf(1000, beyond);
}

void failFirst(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  effects.firstReads = beyond ? 4 : 3;
  effects.firstStatus = platform::kIOUSBPipeStalled;
}

void timeOutFirst(ProbeEffects& effects, const ProbedScan& scan, bool beyond) {
  constexpr std::uint32_t eachMs = 250;
  effects.firstReads = beyond ? scan.timeoutMs / eachMs + 1 : scan.timeoutMs / eachMs - 1;
  effects.firstStatus = platform::kIOUSBTransactionTimeout;
}

void takeLong(ProbeEffects& effects, const ProbedScan& scan, bool beyond) {
  effects.readMs = 200;
  const std::uint64_t reads = sideOf(jobMsBound(scan), beyond) / effects.readMs;
  const std::uint64_t bytes = bytesIn(effects.packets);
  // Rounded so that the number of reads stays on its side.
  effects.largest = static_cast<std::size_t>(beyond ? bytes / reads : (bytes + reads - 1) / reads);
}

void sendMessages(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  begin(effects, packet(wire::controlData, "<response/>", sideOf(1000, beyond)));
}

std::string messageOf(std::uint64_t bytes) {
  const std::string opening = "<response><StringElem>";
  const std::string closing = "</StringElem></response>";
  const auto between = static_cast<std::size_t>(bytes) - opening.size() - closing.size();
  return opening + std::string(between, 'm') + closing;
}

void sendBytesOfMessages(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  begin(effects, packet(wire::controlData, messageOf(sideOf(2 * mebibyte, beyond) / 10), 10));
}

void sendLongMessage(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  begin(effects, packet(wire::controlData, messageOf(sideOf(mebibyte, beyond))));
}

void sendDocumentType(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  begin(effects, packet(wire::controlData, beyond ? "<!DOCTYPE response><response/>" : "<response/>"));
}

void answerWithDocumentType(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  Packet& answer = effects.packets.front();
  const std::size_t prologue = answer.payload.find("?>");
  const std::size_t place = prologue == std::string::npos ? 0 : prologue + 2;
  answer.payload.insert(place, beyond ? "<!DOCTYPE response>" : "<!-- response -->");
  answer.announced = static_cast<std::uint32_t>(answer.payload.size());
}

void announceMuch(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  begin(effects, {wire::beginImagePage, static_cast<std::uint32_t>(sideOf(432 * mebibyte, beyond)), {}});
}

void announcePicture(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  const std::string side = std::to_string(beyond ? 10'000 : 9'000);  // 286 or 232 MiB
  begin(effects, packet(wire::imageData, "P6\n# \n" + side + " " + side + "\n255\n"));
}

// The picture is complete. The worker's exit status reports whether the last calls took too long.
void fallSilent(ProbeEffects& effects, const ProbedScan& /*scan*/, bool beyond) {
  effects.silentAfterwards = beyond;
}

constexpr std::string_view good = "The page was scanned.";
constexpr std::string_view garbled = "The scanner's data is garbled. ";
constexpr std::string_view noData = "The scanner accepted the job but sent no data for ";

constexpr Probe probes[] = {
    {"packets", good, garbled, sendEmptyPackets},
    {"bytes", good, garbled, sendBytes},
    {"reads without a byte", good, garbled, sendNothing},
    {"failing reads", good, "A USB transfer to or from the scanner failed (status 0x", failFirst},
    {"silence", good, noData, timeOutFirst},
    {"time", good, "The scanner sends data too slowly: ", takeLong},
    {"time of the last calls", good, good, fallSilent},
    {"messages", good, garbled, sendMessages},
    {"bytes of messages", good, garbled, sendBytesOfMessages},
    {"length of a message", good, garbled, sendLongMessage},
    {"document types", good, garbled, sendDocumentType},
    {"document types of answers", good, "The scanner sent an unreadable reply (request \"",
     answerWithDocumentType, true},
    {"length of a packet", noData, garbled, announceMuch},
    {"size of the picture", "The scanner sent a different picture (",
     "The scanner's picture cannot be read: ", announcePicture},
};

}  // namespace

std::span<const Probe> allProbes() {
  return probes;
}

std::optional<ProbedSide> probeOf(std::uint64_t seed) {
  Dice dice(seed ^ 0x50726F6265ULL);  // independent of what else follows from the seed
  if (!dice.oneIn(12)) return std::nullopt;
  const Probe& probe = dice.oneOf(probes);
  return ProbedSide{&probe, dice.oneIn(2)};
}

}  // namespace hostile
