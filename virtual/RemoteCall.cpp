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

std::unique_ptr<Element> parse(std::string_view text) {
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
  if (status != 0 || message == nullptr) throw ObjectStoreException("this is no message");
  return message;
}

std::string closed(XMLVisitor& visitor) {
  char* bytes = nullptr;
  unsigned int length = 0;
  visitor.createMemoryDump(&bytes, &length);
  std::string text(bytes, length);
  std::free(bytes);
  return text;
}

}  // namespace

void RemoteCall::read(std::string_view message) {
  message_ = parse(message);
  requestId_ = numberIn(text("requestID"));
  if (text("messageType") != "method" || text("systemRule") != "callMethod") {
    throw ObjectStoreException("this is no call of a method");
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
