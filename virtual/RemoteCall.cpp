#include "RemoteCall.h"

#include <charconv>
#include <cstdlib>

#include "Exceptions.h"
#include "XMLSAXParser.h"
#include "XMLVisitor.h"

namespace virtualscanner {
namespace {

constexpr int responseMessage = 1;
constexpr int exceptionMessage = 2;

int numberIn(const std::string& text) {
  int number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// Whether the text can be passed to the library's reader without leaking memory. The reader takes every tag
// that begins like "method", "response" or "exception" for a message of its own and frees none but the last,
// by design. A host's call is a single message; entities would let its text hold more of them than it shows,
// and a zero byte is only found in encodings in which these tags look different.
bool holdsOneMessage(std::string_view text) {
  std::size_t messages = 0;
  for (std::size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at + 1)) {
    const std::string_view tag = text.substr(at + 1, 2);
    if (tag == "me" || tag == "re" || tag == "ex") ++messages;
  }
  return messages == 1 && text.find("<!DOCTYPE") == std::string_view::npos &&
         text.find('\0') == std::string_view::npos;
}

std::unique_ptr<Element> parse(std::string_view text) {
  if (!holdsOneMessage(text)) throw ObjectStoreException("this is not a message");
  XMLSAXParser parser;
  std::unique_ptr<Element> message;
  int status = -1;
  try {
    // The text is not changed, and has at most wire::PacketReader::largestMessage bytes.
    status = parser.parseMessage(const_cast<char*>(text.data()), static_cast<int>(text.size()));
    message.reset(parser.getResult());
  } catch (const ObjectStoreException&) {
    message.reset(parser.getResult());
    throw;
  }
  if (status != 0 || message == nullptr) throw ObjectStoreException("this is not a message");
  return message;
}

std::string closed(XMLVisitor& visitor) {
  char* bytes = nullptr;
  unsigned int length = 0;
  visitor.createMemoryDump(&bytes, &length);
  const std::unique_ptr<char, decltype(&std::free)> owner(bytes, &std::free);
  return std::string(bytes, length);
}

}  // namespace

void RemoteCall::read(std::string_view message) {
  message_ = parse(message);
  requestId_ = numberIn(text("requestID"));
  if (text("messageType") != "method" || text("systemRule") != "callMethod") {
    throw ObjectStoreException("this is not a method call");
  }
  object_ = text("objName");
  method_ = text("method");
  if (!message_->hasChild("params") || !message_->getChildRaw("params")->instanceOf("ListElem")) {
    throw ObjectStoreException("the call has no list of parameters");
  }
}

Element& RemoteCall::parameter(unsigned int index) const {
  if (index >= parameterCount()) throw ObjectStoreException("the call has too few parameters");
  return *message_->getChildRaw("params")->getChildRaw(index);
}

unsigned int RemoteCall::parameterCount() const {
  return message_->getChildRaw("params")->getNumChildren();
}

std::string RemoteCall::text(const char* key) const {
  if (!message_->hasChild(key)) return {};
  try {
    return message_->getChildRaw(std::string(key))->stringValue();
  } catch (const ObjectStoreException&) {
    return {};
  }
}

std::string writeResponse(int requestId, Element& result) {
  XMLVisitor visitor(responseMessage, requestId);
  result.accept(&visitor);
  return closed(visitor);
}

std::string writeException(int requestId, const std::string& reason) {
  XMLVisitor visitor(exceptionMessage, requestId);
  ObjectStoreException(reason).accept(&visitor);
  return closed(visitor);
}

}  // namespace virtualscanner
