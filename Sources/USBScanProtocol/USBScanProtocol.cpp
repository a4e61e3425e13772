#include "USBScanProtocol.h"

#include <array>
#include <new>

#include "BorrowedData.h"
#include "GrowingFile.h"
#include "PacketFormat.h"

using platform::Data;
using platform::DataRef;

platform::Data* USBScanProtocol::prepControlDataToSend(const Data& payload) {
  std::array<std::uint8_t, wire::packetHeaderSize> header;
  wire::writeHeader(header.data(), wire::controlData, static_cast<std::uint32_t>(payload.length()));
  DataRef framed(Data::withBytes(header.data(), header.size()));
  framed->append(payload.bytes(), payload.length());
  return framed.letGo();
}

void USBScanProtocol::removePacket(const void* packet) {
  // If a callback fed this parser, its packet has been removed already.
  if (_buffer == nullptr || packet != _buffer->bytes() || _buffer->length() < wire::packetHeaderSize) return;
  const std::uint32_t size = wire::packetSize(wire::payloadLengthOf(_buffer->bytes()));
  // A length of 0xFFFFFFF8 leaves its packet at the front forever; identical buffers must not accumulate.
  if (size == 0) return;
  Data* rest = nullptr;
  try {
    rest = Data::suffixOf(*_buffer, size);
  } catch (const std::bad_alloc&) {
    throw OutOfMemory();
  }
  // One reference more than is ever released: every replacement buffer stays allocated, deliberately.
  rest->retain();
  _buffer->release();
  _buffer = rest;
}

void USBScanProtocol::doEndImageJobCallback() {
  if (_callbacks.endImageJob != nullptr) _callbacks.endImageJob(_callbacks.info);
}

void USBScanProtocol::doEndImagePageCallback() {
  if (_callbacks.endImagePage != nullptr) _callbacks.endImagePage(_callbacks.info);
}

void USBScanProtocol::doImageDataCallbackWithData(void* bytes, int length) {
  if (_callbacks.imageData != nullptr) _callbacks.imageData(bytes, length, _callbacks.info);
}

void USBScanProtocol::doControlDataCallbackWithData(void* bytes, int length) {
  if (_callbacks.controlData != nullptr) _callbacks.controlData(bytes, length, _callbacks.info);
}

void USBScanProtocol::doBeginImagePageCallback() {
  if (_callbacks.beginImagePage != nullptr) _callbacks.beginImagePage(_callbacks.info);
}

void USBScanProtocol::doBeginImageJobCallback() {
  if (_callbacks.beginImageJob != nullptr) _callbacks.beginImageJob(_callbacks.info);
}

// Callers pass the flag, but no data is ever converted.
void USBScanProtocol::parseFullPackets([[maybe_unused]] std::int8_t convert) {
  while (_buffer != nullptr && _buffer->length() >= wire::packetHeaderSize) {
    const std::uint8_t* packet = _buffer->bytes();
    const std::uint32_t length = wire::payloadLengthOf(packet);
    // Not bounded: a length that wraps makes a packet that is complete after its header.
    if (_buffer->length() < wire::packetSize(length)) return;
    // The header is complete, so the payload begins at the end of the buffer at the latest.
    void* payload = const_cast<std::uint8_t*>(packet + wire::packetHeaderSize);
    dispatch(wire::typeOf(packet), payload, static_cast<int>(length));
    removePacket(packet);
  }
}

void USBScanProtocol::dispatch(std::uint8_t type, void* payload, int length) {
  switch (type) {
    case wire::beginImageJob:
      return doBeginImageJobCallback();
    case wire::beginImagePage:
      return doBeginImagePageCallback();
    case wire::controlData:
      return doControlDataCallbackWithData(payload, length);
    case wire::imageData:
      return doImageDataCallbackWithData(payload, length);
    case wire::endImagePage:
      return doEndImagePageCallback();
    case wire::endImageJob:
      return doEndImageJobCallback();
    default:
      return;
  }
}

void USBScanProtocol::appendToBuffer(const Data& chunk) {
  if (_buffer == nullptr) return;
  try {
    _buffer->append(chunk.bytes(), chunk.length());
  } catch (const std::bad_alloc&) {
    throw OutOfMemory();
  }
}

void USBScanProtocol::receiveData(const Data& chunk, std::int8_t convert) {
  appendToBuffer(chunk);
  parseFullPackets(convert);
}

void USBScanProtocol::dealloc() {
  if (_buffer == nullptr) return;
  // A buffer that replaced another one stays allocated: only its spare capacity can be freed here.
  _buffer->trim();
  _buffer->release();
  _buffer = nullptr;
}

USBScanProtocol* USBScanProtocol::initWithCallbacks(const USBScanProtocolCallbacks* callbacks) {
  try {
    _buffer = Data::create();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
  if (callbacks != nullptr) _callbacks = *callbacks;
  return this;
}

namespace {

// One per process, like the file: the first dumpData() for the buffer of a job begins a new file, and
// releasing the job's parser ends it.
platform::GrowingFile& dumpFile() {
  static platform::GrowingFile file("/tmp/vexo-data-dump");
  return file;
}

USBScanProtocol* parserOf(void* handle) {
  return static_cast<USBScanProtocol*>(handle);
}

}  // namespace

void* initUSBScanProtocol(const USBScanProtocolCallbacks* callbacks) {
  auto* parser = new (std::nothrow) USBScanProtocol;
  if (parser == nullptr) return nullptr;
  if (parser->initWithCallbacks(callbacks) == nullptr) {
    delete parser;
    return nullptr;
  }
  return parser;
}

void receiveData(void* handle, const void* bytes, std::int32_t count, std::int8_t convert) {
  if (handle == nullptr) return;
  const BorrowedData chunk(bytes, count);
  try {
    parserOf(handle)->receiveData(chunk, convert);
  } catch (const USBScanProtocol::OutOfMemory&) {
    return;
  }
}

Data* prepControlDataToSend(void* handle, const void* bytes, std::int32_t count) {
  if (handle == nullptr) return nullptr;
  const BorrowedData payload(bytes, count);
  try {
    return parserOf(handle)->prepControlDataToSend(payload);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void releaseUSBScanProtocol(void* handle) {
  if (handle == nullptr) return;
  // The parser object itself is not freed, deliberately: a handle that is used once more finds a parser
  // without a buffer.
  parserOf(handle)->dealloc();
  try {
    dumpFile().finish();
  } catch (...) {
    return;
  }
}

// Appends only what is new in `data`: rewriting the file after each read would take time quadratic in the
// image's size.
void dumpData(Data* data) {
  if (data == nullptr) return;
  try {
    dumpFile().update(*data);
  } catch (...) {
    return;
  }
}
