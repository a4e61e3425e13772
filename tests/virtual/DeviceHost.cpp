#include "DeviceHost.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Data.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "PacketFormat.h"
#include "PageImage.h"
#include "StringElem.h"
#include "XMLSAXParser.h"
#include "XMLVisitor.h"

using namespace virtualscanner;

namespace {

MapElem* point(std::int64_t x, std::int64_t y) {
  auto* map = new MapElem;
  map->addChild("x", new IntegerElem(static_cast<int>(x)));
  map->addChild("y", new IntegerElem(static_cast<int>(y)));
  return map;
}

std::string inShort(const std::string& reply) {
  XMLSAXParser parser;
  std::string text = reply;
  if (parser.parseMessage(text.data(), static_cast<int>(text.size())) != 0) return "malformed";
  const std::unique_ptr<Element> message(parser.getResult());
  if (message == nullptr) return "malformed";
  const std::string type = message->getChild("messageType")->stringValue();
  return type == "response" ? type + " " + message->getChild("result")->stringValue() : type;
}

}  // namespace

std::vector<std::uint8_t> controlPacket(std::string_view text) {
  std::vector<std::uint8_t> packet(wire::packetHeaderSize + text.size());
  wire::writeHeader(packet.data(), wire::controlData, static_cast<std::uint32_t>(text.size()));
  std::copy(text.begin(), text.end(), packet.begin() + wire::packetHeaderSize);
  return packet;
}

std::unique_ptr<MapElem> parameterTree(const PageRequest& request) {
  auto tree = std::make_unique<MapElem>();
  auto* scan = new MapElem;
  tree->addChild("scanParameters", scan);
  scan->addChild("contentType", new IntegerElem(request.color ? 2 : 1));
  scan->addChild("bitdepth", new IntegerElem(request.color ? 24 : 8));
  scan->addChild("resolution", new IntegerElem(static_cast<int>(request.resolution)));
  auto* window = new MapElem;
  scan->addChild("scanWindow", window);
  window->addChild("topLeft", point(request.left, request.top));
  window->addChild("bottomRight", point(std::int64_t{request.left} + request.width,
                                        std::int64_t{request.top} + request.height));
  return tree;
}

DeviceHost::DeviceHost(VirtualScanner& scanner)
    : pipes_{[&scanner](std::uint8_t address, const std::uint8_t* bytes, std::size_t count) {
               return scanner.write(address, bytes, count);
             },
             [&scanner](std::uint8_t address, std::uint8_t* buffer, std::size_t capacity) {
               return scanner.read(address, buffer, capacity);
             }} {}

std::vector<std::uint8_t> DeviceHost::framed(const std::string& object, const std::string& method,
                                             const std::vector<Parameter>& parameters) {
  ListElem list;
  for (const Parameter parameter : parameters) {
    if (parameter == Parameter::tree) {
      list.add(parameterTree(request).release());
    } else {
      list.add(parameter == Parameter::kind ? "HostSendJob" : "HostPrintJob");
    }
  }
  XMLVisitor visitor(5, requestId, object, method, "");
  list.accept(&visitor);
  char* text = nullptr;
  unsigned int length = 0;
  visitor.createMemoryDump(&text, &length);
  const std::vector<std::uint8_t> packet = controlPacket({text, length});
  std::free(text);
  return packet;
}

std::string DeviceHost::call(const std::string& object, const std::string& method,
                             const std::vector<Parameter>& parameters) {
  write(framed(object, method, parameters));
  lastReply_ = takeReply();
  return lastReply_.empty() ? "none" : inShort(lastReply_);
}

bool DeviceHost::startJob(const PageRequest& wanted) {
  request = wanted;
  if (enter() != "response 0") return false;
  const std::string created = create();
  if (created.rfind("response ", 0) != 0) return false;
  jobName_ = created.substr(9);
  return call(jobName_, "start") == "response 0";
}

std::string DeviceHost::takeReply() {
  std::vector<std::uint8_t> buffer(512);
  const Transfer transfer = pipes_.read(replyEndpoint, buffer.data(), buffer.size());
  if (transfer.moved < wire::packetHeaderSize) return {};
  EXPECT_EQ(wire::typeOf(buffer.data()), wire::controlData);
  EXPECT_EQ(wire::payloadLengthOf(buffer.data()) + wire::packetHeaderSize, transfer.moved);
  return {buffer.begin() + wire::packetHeaderSize,
          buffer.begin() + static_cast<std::ptrdiff_t>(transfer.moved)};
}

Transfer DeviceHost::write(const std::vector<std::uint8_t>& bytes) {
  return pipes_.write(requestEndpoint, bytes.data(), bytes.size());
}

Transfer DeviceHost::readData(std::size_t capacity) {
  std::vector<std::uint8_t> buffer(capacity);
  return pipes_.read(dataEndpoint, buffer.data(), buffer.size());
}

std::vector<std::uint8_t> DeviceHost::readStream(std::size_t capacity) {
  std::vector<std::uint8_t> stream;
  std::vector<std::uint8_t> buffer(capacity);
  for (;;) {
    const Transfer transfer = pipes_.read(dataEndpoint, buffer.data(), buffer.size());
    if (transfer.status != TransferStatus::done) return stream;
    stream.insert(stream.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(transfer.moved));
  }
}

namespace {

template <typename Visit>
void forEachPacket(const std::vector<std::uint8_t>& stream, const Visit& visit) {
  std::size_t offset = 0;
  while (offset + wire::packetHeaderSize <= stream.size()) {
    const std::uint8_t* packet = stream.data() + offset;
    const std::size_t length = wire::payloadLengthOf(packet);
    offset += wire::packetHeaderSize + length;
    if (offset > stream.size()) break;
    visit(wire::typeOf(packet), packet + wire::packetHeaderSize, length);
  }
  EXPECT_EQ(offset, stream.size()) << "the stream ends inside a packet";
}

}  // namespace

std::vector<std::uint8_t> packetTypesOf(const std::vector<std::uint8_t>& stream) {
  std::vector<std::uint8_t> types;
  forEachPacket(stream, [&](std::uint8_t type, const std::uint8_t*, std::size_t) { types.push_back(type); });
  return types;
}

std::vector<std::uint8_t> imageOf(const std::vector<std::uint8_t>& stream) {
  std::vector<std::uint8_t> image;
  forEachPacket(stream, [&](std::uint8_t type, const std::uint8_t* payload, std::size_t length) {
    if (type == wire::imageData) image.insert(image.end(), payload, payload + length);
  });
  return image;
}

std::vector<std::uint8_t> expectedImage(const Paper& paper, const PageRequest& request) {
  const std::string header = imageHeader(request);
  std::vector<std::uint8_t> image(header.begin(), header.end());
  for (std::int64_t row = request.top; row < std::int64_t{request.top} + request.height; ++row) {
    for (std::int64_t column = request.left; column < std::int64_t{request.left} + request.width; ++column) {
      const Color color = paper.pixelAt(request.resolution, column, row);
      if (request.color) {
        image.insert(image.end(), {color.red, color.green, color.blue});
      } else {
        image.push_back(greyOf(color));
      }
    }
  }
  return image;
}
