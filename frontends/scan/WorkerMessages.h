#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "PictureLayout.h"
#include "ScanOutcome.h"
#include "ScanRequest.h"

// What a front end and its worker say to each other, one message a packet. A message is text: the version,
// its kind, then its fields in a fixed order, each "name length:value" and a line feed. Readers take exactly
// that and nothing else, so that parts of different versions notice each other, and a broken one is noticed
// too.
namespace frontend {

// The descriptors under which a worker finds its two connections: the socket of these messages, and the pipe
// that it writes the rows of the picture to.
inline constexpr int workerControlDescriptor = 3;
inline constexpr int workerImageDescriptor = 4;

// No message is longer; a longer one cannot be sent.
inline constexpr std::size_t largestWorkerMessage = 65536;

// Down: the request comes first, once; a cancel may follow at any time, also several times. The end of the
// connection is a cancel too. Plain bytes, for a signal handler.
inline constexpr char cancelMessage[] = "q750-worker 1\ncancel\n";

std::string requestMessage(const ScanRequest& request);
// Nothing where the text is no request, or one that no scanner could be given: the settings hold what
// ScanSettings.h promises.
std::optional<ScanRequest> readRequest(std::string_view message);

// That the worker is there and watches over its scan, whatever the scanner does.
struct Heartbeat {};

// Up: the layout, at most once, before the first byte of the picture; heartbeats at any time until the
// outcome, which is the last.
std::string layoutMessage(const PictureLayout& layout);
std::string outcomeMessage(const ScanOutcome& outcome);
std::string heartbeatMessage();
using WorkerReport = std::variant<PictureLayout, ScanOutcome, Heartbeat>;
std::optional<WorkerReport> readReport(std::string_view message);

}  // namespace frontend
