#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "AttachedDevice.h"
#include "PictureLayout.h"
#include "ScanOutcome.h"
#include "ScanRequest.h"

// The messages between a front end and its worker, one per packet of a SOCK_SEQPACKET socket. A message is
// text: the version, its kind, then its fields in a fixed order, each "name length:value" and a line feed.
// Readers accept exactly that, so that parts of different versions are detected, and broken ones as well.
// Encoding and decoding only, no I/O; any thread.
namespace frontend {

// The descriptors of a worker's two connections: the socket for these messages, and the pipe to which it
// writes the rows of the picture.
inline constexpr int workerControlDescriptor = 3;
inline constexpr int workerImageDescriptor = 4;

// The exit status of a worker that found no memory, or no thread, not even for a message.
inline constexpr int workerNoMemoryStatus = 4;

// No message is longer; a longer one cannot be sent.
inline constexpr std::size_t largestWorkerMessage = 65536;

// To the worker: its task first, which is to list the scanners or a request for a scan, with the open file of
// the virtual scanner's paper where it names one (DescriptorMessage.h). Cancels may follow a request at any
// time; a closed connection is a cancel too. Plain bytes, so that a signal handler can send them.
inline constexpr char listMessage[] = "q750-worker 1\nlist\n";
inline constexpr char cancelMessage[] = "q750-worker 1\ncancel\n";

std::string requestMessage(const ScanRequest& request);
// Nothing if the text is not a request, or is one with settings that no scanner could have (ScanSettings.h).
std::optional<ScanRequest> readRequest(std::string_view message);

// The worker is alive and supervises its scan, whatever the scanner does.
struct Heartbeat {};

// From the worker: the layout, at most once, before the first byte of the picture; heartbeats at any time,
// even when memory has run out; the outcome as the last message.
std::string layoutMessage(const PictureLayout& layout);
std::string outcomeMessage(const ScanOutcome& outcome);
inline constexpr std::string_view heartbeatMessage = "q750-worker 1\nheartbeat\n";
using WorkerReport = std::variant<PictureLayout, ScanOutcome, Heartbeat>;
// Nothing if the text is not such a message.
std::optional<WorkerReport> readReport(std::string_view message);

// From a worker that lists: the scanners on the USB, or an outcome that explains why there is no list. It is
// the only message.
using AttachedScanners = std::vector<platform::AttachedDevice>;
inline constexpr std::size_t mostListedScanners = 256;  // the others are left out
std::string scannersMessage(const AttachedScanners& scanners);
using ListReply = std::variant<AttachedScanners, ScanOutcome>;
// Nothing if the text is neither; a good outcome is not a reply.
std::optional<ListReply> readListReply(std::string_view message);

}  // namespace frontend
