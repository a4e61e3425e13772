#include "Fault.h"

#include <charconv>

namespace virtualscanner {
namespace {

constexpr std::string_view transfers = "transfers, reads and writes together, from 1";
constexpr std::string_view writes = "writes, from 1";
constexpr std::string_view calls = "calls, from 1";
constexpr std::string_view imageBytes = "image bytes sent before, the image's header included";
constexpr std::string_view wrongHeaders =
    "kinds of wrong: 1 no comment line, 2 a format that does not exist, 3 an impossible size, 4 no header";
constexpr std::string_view dataReads = "reads of the data pipe, 0 for all of them";

constexpr FaultDescription table[] = {
    {FaultKind::stall, "stall", 8, transfers,
     "the transfer moves nothing and its endpoint stays halted until the host clears it"},
    {FaultKind::timeOut, "time-out", 4, transfers,
     "the transfer moves nothing and runs into its time-out; what was to be read is still there afterwards"},
    {FaultKind::shortWrite, "short-write", 2, writes,
     "the device takes the first half of the bytes and then no more, until the time-out"},
    {FaultKind::unplug, "unplug", 9, transfers,
     "the device is gone before the transfer, until it is plugged in again"},
    {FaultKind::exceptionReply, "exception-reply", 2, calls,
     "the call is not carried out and answered with an exception message"},
    {FaultKind::splitReply, "split-reply", 2, calls,
     "the reply travels in two transfers, so that one read gets only its first half"},
    {FaultKind::garbageReply, "garbage-reply", 2, calls,
     "the call is carried out, and answered with a control packet whose text is not a message"},
    {FaultKind::garbage, "garbage", 100000, imageBytes,
     "64 bytes that are not a packet follow the image packet in which that byte is sent"},
    {FaultKind::truncatedImage, "truncated-image", 100000, imageBytes,
     "the stream stops there for good, in the middle of an image packet or not"},
    {FaultKind::wrongHeader, "wrong-header", 1, wrongHeaders, "the image begins with a wrong header"},
    {FaultKind::silence, "silence", 3, dataReads,
     "this many reads time out before the first byte of the job stream arrives"},
};

}  // namespace

std::span<const FaultDescription> faultTable() {
  return table;
}

const FaultDescription& describe(FaultKind kind) {
  return table[static_cast<std::size_t>(kind)];
}

std::optional<Fault> parseFault(std::string_view text) {
  const std::size_t separator = text.find_first_of(":@");
  for (const FaultDescription& description : table) {
    if (description.name != text.substr(0, separator)) continue;
    if (separator == std::string_view::npos) return Fault{description.kind, description.defaultPosition};
    Fault fault{description.kind, 0};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + separator + 1, end, fault.position);
    if (error != std::errc() || rest != end) return std::nullopt;
    return fault;
  }
  return std::nullopt;
}

std::string textOf(const Fault& fault) {
  return std::string(describe(fault.kind).name) + ":" + std::to_string(fault.position);
}

}  // namespace virtualscanner
