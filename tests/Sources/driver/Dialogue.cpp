#include "Dialogue.h"

#include <cstdio>

namespace {

std::string formatted(const char* format, unsigned int value) {
  char text[32];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string visible(const std::string& bytes) {
  std::string text;
  for (const char byte : bytes) {
    if (byte == '\n') {
      text += "\\n\n";
    } else if (byte == '\r') {
      text += "\\r";
    } else if (byte == '\\') {
      text += "\\\\";
    } else if (byte >= ' ' && byte <= '~') {
      text += byte;
    } else {
      text += formatted("\\x%02X", static_cast<unsigned char>(byte));
    }
  }
  return text;
}

std::string between(const std::string& text, const std::string& before, const std::string& after) {
  const std::size_t start = text.find(before);
  if (start == std::string::npos) return "?";
  const std::size_t from = start + before.size();
  return text.substr(from, text.find(after, from) - from);
}

}  // namespace

std::string packet(std::uint8_t type, const std::string& payload) {
  const std::size_t length = payload.size();
  std::string bytes(1, static_cast<char>(type));
  bytes.append(3, '\0');
  for (const unsigned int shift : {24U, 16U, 8U, 0U}) bytes += static_cast<char>((length >> shift) & 0xFFU);
  return bytes + payload;
}

std::string response(const std::string& result) {
  return controlPacket("<?xml version=\"1.0\"?>\r\n<response requestID=\"7\">\r\n  <StringElem>" + result +
                       "</StringElem>\r\n</response>\r\n");
}

std::string faultReply(const std::string& message) {
  return controlPacket("<?xml version=\"1.0\"?>\r\n<exception requestID=\"7\">\r\n  <message>" + message +
                       "</message>\r\n</exception>\r\n");
}

std::string pixmap(unsigned int width, unsigned int height, const std::string& raster) {
  return "P6\n# a scan\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" + raster;
}

std::string greymap(unsigned int width, unsigned int height, const std::string& raster) {
  return "P5\n# a scan\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n" + raster;
}

std::string countingBytes(std::size_t n, unsigned int first) {
  std::string bytes;
  for (std::size_t i = 0; i < n; ++i) bytes += static_cast<char>((first - 1 + i) % 255 + 1);
  return bytes;
}

std::string asText(const std::vector<fakes::ScriptedUsbStack::Transfer>& transfers) {
  std::string text;
  for (const auto& transfer : transfers) {
    text += (transfer.out ? ">>> pipe " : "<<< pipe ") + std::to_string(transfer.pipe);
    if (transfer.status != platform::kIOReturnSuccess) {
      text += formatted(" status %08X", static_cast<std::uint32_t>(transfer.status));
    }
    text += "\n" + visible(transfer.bytes);
    if (text.back() != '\n') text += "\n";
  }
  return text;
}

std::vector<std::string> requestsOf(const std::vector<fakes::ScriptedUsbStack::Transfer>& transfers) {
  constexpr std::size_t headerSize = 8;
  std::vector<std::string> requests;
  for (const auto& transfer : transfers) {
    if (transfer.out && transfer.bytes.size() >= headerSize)
      requests.push_back(transfer.bytes.substr(headerSize));
  }
  return requests;
}

std::vector<std::string> methodsOf(const std::vector<fakes::ScriptedUsbStack::Transfer>& transfers) {
  std::vector<std::string> methods;
  for (const std::string& request : requestsOf(transfers)) {
    methods.push_back(between(request, "<arg name=\"objName\">", "</arg>") + "." +
                      between(request, "<arg name=\"method\">", "</arg>"));
  }
  return methods;
}
