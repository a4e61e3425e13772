#include "XMLVisitor.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>

#include "BinaryElem.h"
#include "BooleanElem.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "ElementIterator.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "StringElem.h"
#include "StringUtils.h"

namespace {

constexpr const char* prologue = "<?xml version=\"1.0\"?>\r\n";

constexpr int responseCode = 1;
constexpr int exceptionCode = 2;
constexpr int callRuleCode = 6;
constexpr int eventCode = 10;

struct Method {
  const char* name;
  std::array<const char*, 4> arguments;
  // How many arguments the head writes completely; with `open` the next one is left open for
  // the visited element.
  std::size_t complete;
  bool open;
};

constexpr Method untypedMethod = {"", {"", ""}, 2, false};

constexpr std::array<Method, 12> methods = {{
    untypedMethod,
    untypedMethod,
    untypedMethod,
    {"getAttribute", {"objName", "attribName"}, 2, false},
    {"setAttribute", {"objName", "attribName", "value"}, 2, true},
    {"callMethod", {"objName", "method", "params"}, 2, true},
    {"callRule", {"ruleName", "params"}, 1, true},
    {"addObserver", {"objName", "event", "observer"}, 3, false},
    {"removeObserver", {"objName", "event", "observer"}, 3, false},
    {"instantiate", {"className", "objName", "params"}, 2, true},
    {"event", {"observer", "objName", "event", "data"}, 3, true},
    {"callVoidMethod", {"objName", "method", "params"}, 2, true},
}};

const Method& methodOf(int code) {
  if (code < 0 || static_cast<std::size_t>(code) >= methods.size()) return untypedMethod;
  return methods[static_cast<std::size_t>(code)];
}

std::string closingTagOf(int code) {
  if (code == responseCode) return "</response>\r\n";
  if (code == exceptionCode) return "</exception>\r\n";
  return "</method>\r\n";
}

std::string argumentTag(const char* name) {
  return std::string("<arg name=\"") + name + "\">";
}

// Six decimals, no exponent, always a point: what printf's "%f" writes in the "C" locale, whatever the host's
// locale is.
std::string fixedText(double value) {
  // A sign, 309 digits, the point, six digits.
  std::array<char, 320> digits;
  const auto end =
      std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::fixed, 6);
  return {digits.data(), end.ptr};
}

bool isPrivate(const std::string& name) {
  return name.starts_with('_');
}

}  // namespace

XMLVisitor::XMLVisitor(int type, int requestID, std::string arg1, std::string arg2, std::string arg3)
    : text(prologue), messageType(type) {
  const Method& method = methodOf(type);
  std::string head = std::string("<method name=\"") + method.name;
  if (type != eventCode) head += "\" requestID=\"" + iToString(requestID);
  writeTag(head + "\">", false);
  depth = 1;

  const std::array<const std::string*, 3> literals = {&arg1, &arg2, &arg3};
  for (std::size_t i = 0; i < method.complete; ++i) {
    writeTag(argumentTag(method.arguments[i]), true);
    text += *literals[i];
    writeTag("</arg>", false);
  }
  if (method.open) writeTag(argumentTag(method.arguments[method.complete]), true);
  if (type == callRuleCode) text += arg2;
  // Only an event indents the contents of its open argument.
  if (type == eventCode) depth = 2;
}

XMLVisitor::XMLVisitor(int type, int requestID) : text(prologue), messageType(type) {
  if (type != responseCode && type != exceptionCode) return;
  const std::string root = type == responseCode ? "response" : "exception";
  writeTag("<" + root + " requestID=\"" + iToString(requestID) + "\">", false);
  depth = 1;
}

XMLVisitor::XMLVisitor(std::string rootName) : text(prologue) {
  text += "<" + rootName + ">\r\n";
}

XMLVisitor::~XMLVisitor() = default;

void XMLVisitor::visitorAtPersistentElem(PersistentElem* /*element*/) {}

void XMLVisitor::visitorAtCompositeElem(CompositeElem* element) {
  Element* enclosure = element->getEnclosure();
  const std::string enclosureName = enclosure == nullptr ? std::string() : enclosure->getFullName();
  writeTag("<CompositeElem  enclosure=\"" + enclosureName + "\">", true);
  ++depth;
  // Without the enclosure's entries: the reader finds them through its name.
  const std::unique_ptr<ElementIterator> children(element->iterator(false));
  writeNamedChildren(*children);
  // The depth is not decreased, by design: the closing tag and the rest of the message are one level deeper.
  writeTag("</CompositeElem>", true);
}

void XMLVisitor::visitorAtMapElem(MapElem* element) {
  writeTag("<MapElem>", true);
  ++depth;
  const std::unique_ptr<ElementIterator> children(element->iterator(false));
  writeNamedChildren(*children);
  --depth;
  writeTag("</MapElem>", true);
}

void XMLVisitor::visitorAtListElem(ListElem* element) {
  writeTag("<ListElem>", true);
  ++depth;
  const std::unique_ptr<ElementIterator> children(element->iterator(true));
  while (children->hasNext()) children->next()->accept(this);
  --depth;
  writeTag("</ListElem>", true);
}

void XMLVisitor::visitorAtIntegerElem(IntegerElem* element) {
  writeScalar("IntegerElem", iToString(element->intValue()));
}

void XMLVisitor::visitorAtBooleanElem(BooleanElem* element) {
  writeScalar("BooleanElem", element->booleanValue() ? "true" : "false");
}

void XMLVisitor::visitorAtDoubleElem(DoubleElem* element) {
  // Not stringValue(), which has single precision only.
  writeScalar("DoubleElem", fixedText(element->doubleValue()));
}

void XMLVisitor::visitorAtStringElem(StringElem* element) {
  const std::string encoding = element->encodingValue();
  writeTag(encoding.empty() ? "<StringElem>" : "<StringElem  encoding=\"" + encoding + "\">", true);
  text += element->stringValue();
  writeTag("</StringElem>", false);
}

void XMLVisitor::visitorAtBinaryElem(BinaryElem* element) {
  const unsigned int length = element->binaryLength();
  if (length > static_cast<unsigned int>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("XMLVisitor: too many bytes in a BinaryElem");
  }
  writeScalar("BinaryElem", StrToBase64(element->binaryValue(), static_cast<std::int32_t>(length)));
}

void XMLVisitor::visitorAtNullElem(NullElem* /*element*/) {
  writeTag("<NullElem/>", true);
}

void XMLVisitor::visitorAtObjectStoreException(ObjectStoreException* exception) {
  writeScalar("message", exception->getMessage());
}

void XMLVisitor::writeElementTag(const char* tag, bool newLine) {
  writeTag(tag, newLine);
}

void XMLVisitor::writeElementText(const char* textToAppend) {
  text += textToAppend;
}

int XMLVisitor::createMemoryDump(char** out, unsigned int* length) {
  --depth;
  if (methodOf(messageType).open) {
    writeTag("</arg>", true);
    --depth;
  }
  writeTag(closingTagOf(messageType), true);

  if (text.size() > std::numeric_limits<unsigned int>::max()) {
    throw std::length_error("XMLVisitor: the message is too long");
  }
  // malloc: the caller may be C.
  auto* copy = static_cast<char*>(std::malloc(text.size()));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text.data(), text.size());
  *out = copy;
  *length = static_cast<unsigned int>(text.size());
  return 0;
}

void XMLVisitor::writeTag(const std::string& tag, bool newLine) {
  if (newLine) {
    text += "\r\n";
    if (depth > 0) text.append(2 * static_cast<std::size_t>(depth), ' ');
  }
  text += tag;
}

void XMLVisitor::writeScalar(const std::string& name, const std::string& value) {
  writeTag("<" + name + ">", true);
  text += value;
  writeTag("</" + name + ">", false);
}

void XMLVisitor::writeNamedChildren(ElementIterator& children) {
  while (children.hasNext()) {
    const std::string name = children.nextName();
    Element* child = children.next();
    if (isPrivate(name)) continue;
    writeTag("<child name=\"" + name + "\">", true);
    ++depth;
    child->accept(this);
    --depth;
    writeTag("</child>", true);
  }
}
