#include "VirtualScanner.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "FaultPlan.h"
#include "InPipe.h"
#include "JobProtocol.h"
#include "PacketFormat.h"
#include "PageImage.h"
#include "ReplyQueue.h"
#include "RequestInbox.h"
#include "StandardRequests.h"
#include "StreamSource.h"

namespace virtualscanner {
namespace {

constexpr std::string_view noMessage = "<this is no message";

std::vector<std::uint8_t> controlPacket(std::string_view text) {
  std::vector<std::uint8_t> packet(wire::packetHeaderSize + text.size());
  wire::writeHeader(packet.data(), wire::controlData, static_cast<std::uint32_t>(text.size()));
  std::memcpy(packet.data() + wire::packetHeaderSize, text.data(), text.size());
  return packet;
}

}  // namespace

struct VirtualScanner::State {
  State(std::shared_ptr<const Paper> inserted, ScannerOptions chosen)
      : options(std::move(chosen)),
        paper(std::move(inserted)),
        usb(options.alternateSettings),
        inbox([this](std::string_view message) { answer(message); }),
        stream(options.transferBytes),
        replyPipe(replies, options.zeroLengthPackets),
        dataPipe(stream, options.zeroLengthPackets) {
    faults.set(options.faults);
  }

  // A status other than done ends the transfer before it moved anything.
  TransferStatus begin(std::uint8_t address);
  void answer(std::string_view message);
  void queueReply(std::string_view text, bool split);
  void react(CallEffect effect);
  void beginStream();
  void dropReplies();
  void dropStream();
  std::shared_ptr<const std::vector<std::uint8_t>> paintedPage(const PageRequest& request);

  ScannerOptions options;
  std::shared_ptr<const Paper> paper;
  FaultPlan faults;
  StandardRequests usb;
  JobProtocol protocol;
  RequestInbox inbox;
  ReplyQueue replies;
  StreamSource stream;
  InPipe replyPipe;
  InPipe dataPipe;
  CallObserver callObserver;
  std::optional<PageRequest> lastRequest;
  std::shared_ptr<const std::vector<std::uint8_t>> page;  // painted ahead, of the two below
  std::shared_ptr<const Paper> paperOfPage;
  PageRequest requestOfPage;
  bool pluggedIn = true;
  std::uint32_t connection = 1;
};

VirtualScanner::VirtualScanner(std::shared_ptr<const Paper> paper, ScannerOptions options)
    : state_(std::make_unique<State>(std::move(paper), std::move(options))) {}

VirtualScanner::~VirtualScanner() = default;

void VirtualScanner::insertPaper(std::shared_ptr<const Paper> paper) {
  state_->paper = std::move(paper);
}

void VirtualScanner::setFaults(std::vector<Fault> faults) {
  state_->faults.set(faults);
  state_->options.faults = std::move(faults);
}

const ScannerOptions& VirtualScanner::options() const {
  return state_->options;
}

void VirtualScanner::plugIn() {
  if (state_->pluggedIn) return;
  state_->pluggedIn = true;
  ++state_->connection;
  state_->usb.reset();
  state_->protocol.reset();
  state_->inbox.clear();
  state_->dropReplies();
  state_->dropStream();
  state_->faults.restart();
}

void VirtualScanner::unplug() {
  state_->pluggedIn = false;
}
bool VirtualScanner::pluggedIn() const {
  return state_->pluggedIn;
}
std::uint32_t VirtualScanner::connection() const {
  return state_->connection;
}

const std::vector<std::uint8_t>& VirtualScanner::deviceDescriptor() const {
  return state_->usb.deviceDescriptor();
}

const std::vector<std::uint8_t>& VirtualScanner::configurationDescriptor() const {
  return state_->usb.configurationDescriptor();
}

std::span<const Endpoint> VirtualScanner::endpoints(std::uint8_t alternateSetting) const {
  return state_->usb.endpoints(alternateSetting);
}

bool VirtualScanner::hasAlternateSetting(std::uint8_t alternateSetting) const {
  return state_->usb.hasSetting(alternateSetting);
}

Transfer VirtualScanner::control(const SetupPacket& setup, std::uint8_t* data) {
  if (!state_->pluggedIn) return {TransferStatus::gone};
  const auto answer = state_->usb.perform(setup);
  if (!answer) return {TransferStatus::halted};
  const std::size_t moved = std::min<std::size_t>(answer->size(), setup.length);
  if (moved > 0) std::memcpy(data, answer->data(), moved);
  return {TransferStatus::done, moved, true};
}

Transfer VirtualScanner::write(std::uint8_t address, const std::uint8_t* bytes, std::size_t count) {
  const TransferStatus status = state_->begin(address);
  if (status != TransferStatus::done) return {status};
  const bool cutShort = state_->faults.countWrite();
  if (address != requestEndpoint) return {TransferStatus::silent};
  const std::size_t taken = cutShort ? count / 2 : count;
  state_->inbox.receive(bytes, taken);
  return {cutShort ? TransferStatus::silent : TransferStatus::done, taken, !cutShort};
}

Transfer VirtualScanner::read(std::uint8_t address, std::uint8_t* buffer, std::size_t capacity) {
  const TransferStatus status = state_->begin(address);
  if (status != TransferStatus::done) return {status};
  if (address == replyEndpoint) return state_->replyPipe.read(buffer, capacity);
  if (address != dataEndpoint) return {TransferStatus::silent};
  if (state_->stream.isUntouched() && state_->faults.countSilentRead()) return {TransferStatus::silent};
  return state_->dataPipe.read(buffer, capacity);
}

void VirtualScanner::observeCalls(CallObserver observer) {
  state_->callObserver = std::move(observer);
}
const std::optional<PageRequest>& VirtualScanner::lastRequest() const {
  return state_->lastRequest;
}
std::uint32_t VirtualScanner::transfers() const {
  return state_->faults.transfers();
}

TransferStatus VirtualScanner::State::begin(std::uint8_t address) {
  if (!pluggedIn) return TransferStatus::gone;
  const std::optional<FaultKind> fault = faults.countTransfer();
  if (fault == FaultKind::unplug) {
    pluggedIn = false;
    return TransferStatus::gone;
  }
  if (!usb.has(address)) return TransferStatus::silent;
  if (fault == FaultKind::stall) usb.halt(address);
  if (usb.isHalted(address)) return TransferStatus::halted;
  return fault == FaultKind::timeOut ? TransferStatus::silent : TransferStatus::done;
}

void VirtualScanner::State::answer(std::string_view message) {
  const CallFaults due = faults.countCall();
  const Answer reply = protocol.answer(message, due.refuse);
  react(reply.effect);
  if (callObserver && !reply.call.empty()) callObserver(reply.call);
  queueReply(due.garble ? noMessage : reply.message, due.split);
}

void VirtualScanner::State::queueReply(std::string_view text, bool split) {
  if (replies.isFull()) return;  // before a reply is split: half of one would only mislead
  std::vector<std::uint8_t> packet = controlPacket(text);
  if (split) {
    const auto middle = packet.begin() + static_cast<std::ptrdiff_t>(packet.size() / 2);
    replies.add({packet.begin(), middle});
    packet.erase(packet.begin(), middle);
  }
  replies.add(std::move(packet));
}

void VirtualScanner::State::react(CallEffect effect) {
  if (effect == CallEffect::entered) dropReplies();
  if (effect == CallEffect::entered || effect == CallEffect::finished) dropStream();
  if (effect == CallEffect::started) beginStream();
}

void VirtualScanner::State::beginStream() {
  const PageRequest& request = protocol.request();
  lastRequest = request;
  const std::optional<std::uint32_t> wrong = faults.takeWrongHeader();
  std::string header = wrong ? wrongImageHeader(request, *wrong) : imageHeader(request);
  PageImage image = options.paintAhead ? PageImage(paintedPage(request), std::move(header))
                                       : PageImage(paper, request, std::move(header));
  stream.begin(JobStream(std::move(image), options.packetPayload, faults.beginStream()));
}

void VirtualScanner::State::dropReplies() {
  replies.clear();
  replyPipe.clear();
}

void VirtualScanner::State::dropStream() {
  stream.clear();
  dataPipe.clear();
}

std::shared_ptr<const std::vector<std::uint8_t>> VirtualScanner::State::paintedPage(
    const PageRequest& request) {
  if (page == nullptr || paperOfPage != paper || requestOfPage != request) {
    page.reset();  // before the next one is made: a page may be large
    page = std::make_shared<const std::vector<std::uint8_t>>(paintPage(paper, request));
    paperOfPage = paper;
    requestOfPage = request;
  }
  return page;
}

}  // namespace virtualscanner
