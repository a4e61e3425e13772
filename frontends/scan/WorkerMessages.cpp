#include "WorkerMessages.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>

#include "Bed.h"

namespace frontend {
namespace {

constexpr std::string_view opening = "q750-worker 1\n";
constexpr std::string_view requestKind = "request\n";
constexpr std::string_view layoutKind = "layout\n";
constexpr std::string_view outcomeKind = "outcome\n";
constexpr std::string_view scannersKind = "scanners\n";
constexpr auto highestStatus = static_cast<std::uint64_t>(ScanStatus::noMemory);
constexpr auto highestAccess = static_cast<std::uint64_t>(platform::AttachedDevice::Access::noNode);

class Writer {
 public:
  explicit Writer(std::string_view kind) : text_(std::string(opening) + std::string(kind)) {}
  Writer& field(std::string_view name, std::string_view value) {
    text_.append(name).append(" ").append(std::to_string(value.size())).append(":");
    text_.append(value).append("\n");
    return *this;
  }
  Writer& number(std::string_view name, std::uint64_t value) { return field(name, std::to_string(value)); }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

// Reads fields in the order in which they were written. The first invalid one makes failed() true for good;
// all later reads return empty values.
class Reader {
 public:
  Reader(std::string_view message, std::string_view kind) : rest_(message) {
    skip(opening);
    skip(kind);
  }

  std::string_view field(std::string_view name) {
    skip(name);
    skip(" ");
    const auto length = static_cast<std::size_t>(decimal(largestWorkerMessage));
    skip(":");
    if (failed_ || length > rest_.size()) return fail();
    const std::string_view value = rest_.substr(0, length);
    rest_.remove_prefix(length);
    skip("\n");
    return failed_ ? std::string_view() : value;
  }
  template <typename Number>
  Number number(std::string_view name, std::uint64_t most = std::numeric_limits<Number>::max()) {
    const std::optional<std::uint64_t> value = numberIn(field(name), most);
    if (!value) fail();
    return static_cast<Number>(value.value_or(0));
  }
  std::int32_t integer(std::string_view name, std::int32_t least, std::int32_t most) {
    std::string_view text = field(name);
    const bool negative = text.starts_with('-');
    if (negative) text.remove_prefix(1);
    const std::int32_t bound = negative ? -least : most;
    const std::optional<std::uint64_t> value = numberIn(text, static_cast<std::uint64_t>(bound));
    if (!value || (negative && *value == 0)) fail();
    const auto magnitude = static_cast<std::int32_t>(value.value_or(0));
    return negative ? -magnitude : magnitude;
  }
  // A value that is one number and nothing else.
  static std::optional<std::uint64_t> numberIn(std::string_view text, std::uint64_t most) {
    Reader value(text);
    const std::uint64_t number = value.decimal(most);
    return value.ended() ? std::optional(number) : std::nullopt;
  }
  bool flag(std::string_view name) { return number<std::uint32_t>(name, 1) == 1; }
  bool ended() const { return !failed_ && rest_.empty(); }
  bool failed() const { return failed_; }
  // Makes failed() true for a value that this class takes for a valid one.
  std::string_view fail() {
    failed_ = true;
    return {};
  }

 private:
  explicit Reader(std::string_view value) : rest_(value) {}

  void skip(std::string_view expected) {
    if (!rest_.starts_with(expected)) return void(fail());
    rest_.remove_prefix(expected.size());
  }
  // Decimal digits as this file writes them: no sign, no leading zero.
  std::uint64_t decimal(std::uint64_t most) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
    const auto length = static_cast<std::size_t>(end - rest_.data());
    const bool plain = length == 1 || (length > 1 && rest_[0] != '0');
    if (error != std::errc() || !plain || value > most) return void(fail()), 0;
    rest_.remove_prefix(length);
    return value;
  }

  std::string_view rest_;
  bool failed_ = false;
};

Tone readTone(Reader& reader) {
  Tone tone;
  tone.brightness = reader.integer("brightness", limits::lowestTonePercent, limits::highestTonePercent);
  tone.contrast = reader.integer("contrast", limits::lowestTonePercent, limits::highestTonePercent);
  tone.gammaHundredths = reader.number<std::uint32_t>("gamma", limits::highestGammaHundredths);
  return tone;
}

bool isPossible(const ScanRequest& request) {
  const ScanSettings& settings = request.settings;
  if (request.tone.gammaHundredths < limits::lowestGammaHundredths) return false;
  if (request.threshold && !request.tone.isNeutral()) return false;
  const bool resolution = isBedResolution(settings.resolution) &&
                          trueResolution(settings.mode, settings.resolution) == settings.resolution;
  if (!resolution || (request.threshold && settings.mode != ColorMode::gray)) return false;
  const PixelArea bed = wholeBed(settings.resolution);
  const PixelArea& area = settings.area;
  const bool across = area.width > 0 && area.left < bed.width && area.width <= bed.width - area.left;
  const bool along = area.height > 0 && area.top < bed.height && area.height <= bed.height - area.top;
  return across && along && request.timeout.count() > 0;
}

platform::AttachedDevice readScanner(Reader& reader) {
  const auto path = platform::UsbPath::parse(reader.field("path"));
  if (!path) reader.fail();
  const auto address = reader.number<std::uint8_t>("address");
  const auto access = reader.number<std::uint8_t>("access", highestAccess);
  return {path.value_or(platform::UsbPath{}), address, static_cast<platform::AttachedDevice::Access>(access)};
}

std::optional<ScanOutcome> readOutcome(std::string_view message) {
  Reader reader(message, outcomeKind);
  ScanOutcome outcome;
  outcome.status = static_cast<ScanStatus>(reader.number<std::uint8_t>("status", highestStatus));
  outcome.sentence = reader.field("sentence");
  return reader.ended() ? std::optional(std::move(outcome)) : std::nullopt;
}

}  // namespace

std::string requestMessage(const ScanRequest& request) {
  const PixelArea& area = request.settings.area;
  const VirtualScannerOptions& options = request.virtualScanner;
  Writer writer(requestKind);
  writer.field("scanner", request.scanner)
      .number("resolution", request.settings.resolution)
      .field("mode", request.settings.mode == ColorMode::color ? "color" : "gray")
      .number("left", area.left)
      .number("top", area.top)
      .number("width", area.width)
      .number("height", area.height)
      .field("threshold", request.threshold ? std::to_string(*request.threshold) : "")
      .field("brightness", std::to_string(request.tone.brightness))
      .field("contrast", std::to_string(request.tone.contrast))
      .number("gamma", request.tone.gammaHundredths)
      .number("timeout",
              static_cast<std::uint64_t>(std::clamp<std::int64_t>(request.timeout.count(), 0, UINT32_MAX)))
      .number("verbose", request.verbose ? 1 : 0)
      .field("paper", options.paper)
      .number("packet-size", options.packetSize)
      .number("real-time", options.realTime ? 1 : 0)
      .number("warm-up", options.warmUpMs)
      .number("bytes-per-second", options.bytesPerSecond)
      .number("faults", options.faults.size());
  for (const std::string& fault : options.faults) writer.field("fault", fault);
  return writer.take();
}

std::optional<ScanRequest> readRequest(std::string_view message) {
  Reader reader(message, requestKind);
  ScanRequest request;
  request.scanner = reader.field("scanner");
  request.settings.resolution = reader.number<std::uint32_t>("resolution");
  const std::string_view mode = reader.field("mode");
  request.settings.mode = mode == "color" ? ColorMode::color : ColorMode::gray;
  request.settings.area.left = reader.number<std::uint32_t>("left");
  request.settings.area.top = reader.number<std::uint32_t>("top");
  request.settings.area.width = reader.number<std::uint32_t>("width");
  request.settings.area.height = reader.number<std::uint32_t>("height");
  if (const std::string_view text = reader.field("threshold"); !text.empty()) {
    const std::optional<std::uint64_t> threshold = Reader::numberIn(text, limits::highestThreshold);
    if (!threshold) return std::nullopt;
    request.threshold = static_cast<std::uint8_t>(*threshold);
  }
  request.tone = readTone(reader);
  request.timeout = std::chrono::milliseconds(reader.number<std::uint32_t>("timeout"));
  request.verbose = reader.flag("verbose");
  VirtualScannerOptions& options = request.virtualScanner;
  options.paper = reader.field("paper");
  options.packetSize = reader.number<std::uint32_t>("packet-size");
  options.realTime = reader.flag("real-time");
  options.warmUpMs = reader.number<std::uint32_t>("warm-up");
  options.bytesPerSecond = reader.number<std::uint32_t>("bytes-per-second");
  for (auto left = reader.number<std::size_t>("faults", limits::mostVirtualFaults); left > 0; --left) {
    options.faults.emplace_back(reader.field("fault"));
  }
  if (!reader.ended() || (mode != "color" && mode != "gray") || !isPossible(request)) return std::nullopt;
  return request;
}

std::string layoutMessage(const PictureLayout& layout) {
  return Writer(layoutKind)
      .number("width", layout.width)
      .number("height", layout.height)
      .number("channels", layout.channels)
      .number("bits", layout.bitsPerChannel)
      .number("resolution", layout.resolution)
      .take();
}

std::string outcomeMessage(const ScanOutcome& outcome) {
  return Writer(outcomeKind)
      .number("status", static_cast<std::uint64_t>(outcome.status))
      .field("sentence", outcome.sentence)
      .take();
}

std::optional<WorkerReport> readReport(std::string_view message) {
  if (message == heartbeatMessage) return Heartbeat{};
  Reader layoutReader(message, layoutKind);
  if (!layoutReader.failed()) {
    PictureLayout layout;
    layout.width = layoutReader.number<std::uint32_t>("width");
    layout.height = layoutReader.number<std::uint32_t>("height");
    layout.channels = layoutReader.number<std::uint32_t>("channels");
    layout.bitsPerChannel = layoutReader.number<std::uint32_t>("bits");
    layout.resolution = layoutReader.number<std::uint32_t>("resolution");
    return layoutReader.ended() ? std::optional<WorkerReport>(layout) : std::nullopt;
  }
  return readOutcome(message);
}

std::string scannersMessage(const AttachedScanners& scanners) {
  const std::size_t count = std::min(scanners.size(), mostListedScanners);
  Writer writer(scannersKind);
  writer.number("scanners", count);
  for (const platform::AttachedDevice& scanner : std::span(scanners).first(count)) {
    writer.field("path", scanner.path.text())
        .number("address", scanner.address)
        .number("access", static_cast<std::uint64_t>(scanner.access));
  }
  return writer.take();
}

std::optional<ListReply> readListReply(std::string_view message) {
  Reader reader(message, scannersKind);
  if (reader.failed()) {
    const std::optional<ScanOutcome> outcome = readOutcome(message);
    return outcome && !outcome->good() ? std::optional<ListReply>(*outcome) : std::nullopt;
  }
  AttachedScanners scanners;
  for (auto left = reader.number<std::size_t>("scanners", mostListedScanners); left > 0; --left)
    scanners.push_back(readScanner(reader));
  return reader.ended() ? std::optional<ListReply>(std::move(scanners)) : std::nullopt;
}

}  // namespace frontend
