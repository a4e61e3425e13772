#include "UsbipConnection.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace virtualscanner {

using namespace usbip;

namespace {

// Whether the direction of the request matches the setup packet. A request without data always goes out.
bool directionFits(const SetupPacket& setup, std::uint32_t direction) {
  const bool fromDevice = platform::usb::isIn(setup.requestType) && setup.length != 0;
  return fromDevice == (direction == directionFromDevice);
}

WireRequest wireRequest(const CommandHeader& header, const SubmitCommand& command,
                        const std::uint8_t* outgoing) {
  WireRequest request;
  request.id = header.sequenceNumber;
  request.shortIsError = (command.flags & flagShortNotOk) != 0;
  if (header.endpoint == 0) {
    request.setup = command.setup;
    // The client states two lengths; the shorter one is the size of its buffer.
    request.setup.length =
        static_cast<std::uint16_t>(std::min<std::uint32_t>(command.setup.length, command.length));
  } else {
    const std::uint8_t in = header.direction == directionFromDevice ? directionIn : std::uint8_t{0};
    request.address = static_cast<std::uint8_t>(header.endpoint | in);
  }
  if (header.direction == directionFromDevice) {
    request.bytes.resize(command.length);
  } else {
    request.bytes.assign(outgoing, outgoing + command.length);
  }
  return request;
}

}  // namespace

UsbipConnection::~UsbipConnection() {
  if (port_.holder_ != this) return;
  port_.holder_ = nullptr;
  port_.scanner_.unplug();
}

bool UsbipConnection::attach() {
  if (port_.isTaken()) return false;
  port_.holder_ = this;
  port_.scanner_.unplug();
  port_.scanner_.plugIn();
  wire_.emplace(port_.scanner_);
  return true;
}

void UsbipConnection::receive(std::span<const std::uint8_t> bytes) {
  if (ended_) return;
  input_.insert(input_.end(), bytes.begin(), bytes.end());
  process();
}

void UsbipConnection::sent(std::size_t count) {
  outputSent_ += count;
  if (outputSent_ >= output_.size() - outputSent_) {
    output_.erase(output_.begin(), output_.begin() + static_cast<std::ptrdiff_t>(outputSent_));
    outputSent_ = 0;
  }
  process();
}

void UsbipConnection::process() {
  while (wantsInput() && takeOne()) {
  }
  input_.erase(input_.begin(), input_.begin() + static_cast<std::ptrdiff_t>(inputTaken_));
  inputTaken_ = 0;
}

bool UsbipConnection::takeOne() {
  return isAttached() ? takeCommand() : takeOperation();
}

bool UsbipConnection::takeOperation() {
  if (input().size() < operationHeaderSize) return false;
  const OperationHeader header = parseOperation(input().data());
  if (header.version != protocolVersion) {
    end("a protocol version other than 1.1.1");
  } else if (header.code == requestDevices) {
    listDevices();
    inputTaken_ += operationHeaderSize;
  } else if (header.code != requestImport) {
    end("an unknown request");
  } else {
    if (input().size() < importRequestSize) return false;
    import(importedBusId(input().data()));
    inputTaken_ += importRequestSize;
  }
  return true;
}

// The connection ends with the list: a client that wants the device opens another one.
void UsbipConnection::listDevices() {
  if (port_.isTaken()) {
    addNoDevices(output_);
  } else {
    addDevices(output_, port_.scanner_.deviceDescriptor(), port_.scanner_.configurationDescriptor());
  }
  end();
}

void UsbipConnection::import(std::string_view busId) {
  if (busId != deviceBusId) {
    addImportRefusal(output_, statusNoDevice);
    return end();
  }
  if (!attach()) {
    addImportRefusal(output_, statusBusy);
    return end();
  }
  addImportedDevice(output_, port_.scanner_.deviceDescriptor(), port_.scanner_.configurationDescriptor());
}

bool UsbipConnection::takeCommand() {
  if (input().size() < commandHeaderSize) return false;
  const std::uint8_t* bytes = input().data();
  const CommandHeader header = parseCommand(bytes);
  if (complainAbout(header)) return false;
  if (header.command == commandUnlink) {
    unlink(header.sequenceNumber, parseUnlink(bytes));
    inputTaken_ += commandHeaderSize;
    return true;
  }
  const SubmitCommand command = parseSubmit(bytes);
  if (complainAbout(header, command)) return false;
  const std::size_t outgoing = header.direction == directionOut ? command.length : 0;
  if (input().size() - commandHeaderSize < outgoing) return false;
  submit(header, command, bytes + commandHeaderSize);
  inputTaken_ += commandHeaderSize + outgoing;
  return true;
}

bool UsbipConnection::complainAbout(const CommandHeader& header) {
  if (header.command != commandSubmit && header.command != commandUnlink) {
    end("an unknown command");
  } else if (header.device != deviceId) {
    end("a device that was not imported");
  }
  return ended_;
}

bool UsbipConnection::complainAbout(const CommandHeader& header, const SubmitCommand& command) {
  if (header.direction > directionFromDevice || header.endpoint > 15) {
    end("an endpoint that does not exist");
  } else if (command.length > largestTransfer) {
    end("a transfer larger than 16 MiB");
  } else if (command.packets != noPackets && command.packets != notIsochronous) {
    end("an isochronous transfer");
  } else if (inFlight_.contains(header.sequenceNumber)) {
    end("a sequence number in use");
  }
  return ended_;
}

void UsbipConnection::submit(const CommandHeader& header, const SubmitCommand& command,
                             const std::uint8_t* outgoing) {
  if (inFlight_.size() >= mostRequests || inFlightBytes_ + output().size() + command.length > memoryLimit)
    return addSubmitReply(output_, header.sequenceNumber, -ENOMEM, 0);
  if (header.endpoint == 0 && !directionFits(command.setup, header.direction))
    return addSubmitReply(output_, header.sequenceNumber, -EPIPE, 0);
  inFlight_.emplace(header.sequenceNumber, InFlight{header.direction, command.length});
  inFlightBytes_ += command.length;
  wire_->submit(wireRequest(header, command, outgoing));
  collectReplies();
}

void UsbipConnection::unlink(std::uint32_t sequenceNumber, std::uint32_t target) {
  if (!inFlight_.contains(target)) return addUnlinkReply(output_, sequenceNumber, 0);
  wire_->cancel(target, -ECONNRESET);
  collectReplies(Unlinking{sequenceNumber, target});
}

void UsbipConnection::collectReplies(std::optional<Unlinking> unlinking) {
  if (!port_.scanner_.pluggedIn()) wire_->endAll(-ESHUTDOWN);
  while (const std::optional<WireReply> reply = wire_->nextReply()) {
    const auto number = static_cast<std::uint32_t>(reply->id);
    const auto request = inFlight_.find(number);
    inFlightBytes_ -= request->second.bytes;
    const bool isTarget = unlinking && unlinking->target == number;
    if (!isTarget || reply->moved > 0) {
      addSubmitReply(output_, number, reply->status, static_cast<std::uint32_t>(reply->moved));
      if (request->second.direction == directionFromDevice)
        output_.insert(output_.end(), reply->bytes.begin(), reply->bytes.end());
    }
    if (isTarget) addUnlinkReply(output_, unlinking->sequenceNumber, reply->moved > 0 ? 0 : reply->status);
    inFlight_.erase(request);
  }
  if (!port_.scanner_.pluggedIn()) end();
}

void UsbipConnection::end(std::string complaint) {
  ended_ = true;
  complaint_ = std::move(complaint);
}

}  // namespace virtualscanner
