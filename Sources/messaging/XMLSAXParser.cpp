#include "XMLSAXParser.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "BinaryElem.h"
#include "BooleanElem.h"
#include "DoubleElem.h"
#include "DoubleText.h"
#include "ElementData.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "StringElem.h"
#include "StringUtils.h"

namespace {

// No message is nested deeper. Elements are deleted recursively: more levels could exhaust the stack.
constexpr std::size_t deepestNesting = 1000;

enum TagType : int {
  unknownTag = 0,
  methodTag = 1,
  responseTag = 2,
  exceptionTag = 3,
  argTag = 4,
  childTag = 5,
  listTag = 6,
  mapTag = 7,
  integerTag = 8,
  stringTag = 9,
  booleanTag = 10,
  doubleTag = 11,
  compositeTag = 12,
  nullTag = 13,
  binaryTag = 14,
};

// In the order of comparison, which the first two characters decide: "message" is read as "method".
constexpr std::array<std::pair<const char*, TagType>, 14> tagTypes = {{
    {"ListElem", listTag},
    {"MapElem", mapTag},
    {"IntegerElem", integerTag},
    {"StringElem", stringTag},
    {"BooleanElem", booleanTag},
    {"DoubleElem", doubleTag},
    {"NullElem", nullTag},
    {"CompositeElem", compositeTag},
    {"method", methodTag},
    {"response", responseTag},
    {"exception", exceptionTag},
    {"arg", argTag},
    {"child", childTag},
    {"BinaryElem", binaryTag},
}};

bool isRoot(int type) {
  return type == methodTag || type == responseTag || type == exceptionTag;
}

std::string attributeOf(const ElementData& record, const char* name) {
  const auto found = record.attributes.find(name);
  return found == record.attributes.end() ? std::string() : found->second;
}

// Adds a value under a name and deletes the one that held the name before, which no longer has an owner.
void put(Element& container, const std::string& name, std::unique_ptr<Element> value) {
  const std::unique_ptr<Element> previous(container.addChild(name, value.get()));
  static_cast<void>(value.release());
}

void putText(Element& container, const std::string& name, std::string text) {
  put(container, name, std::make_unique<StringElem>(std::move(text)));
}

// A separate function, so that a leak checker can recognise these maps, which may stay allocated by design.
Element* newRootMap() {
  return new MapElem;
}

// The element of a tag while it is open; null for tags that only deliver a value at their end.
std::unique_ptr<Element> elementFor(int type) {
  if (isRoot(type)) return std::unique_ptr<Element>(newRootMap());
  if (type == listTag) return std::make_unique<ListElem>();
  if (type == mapTag) return std::make_unique<MapElem>();
  return nullptr;
}

void describeRoot(Element& message, const ElementData& record, int type) {
  if (type == methodTag) {
    putText(message, "messageType", "method");
    putText(message, "systemRule", attributeOf(record, "name"));
  } else {
    putText(message, "messageType", type == responseTag ? "response" : "exception");
  }
  putText(message, "requestID", attributeOf(record, "requestID"));
}

std::unique_ptr<Element> binaryOf(const std::string& text) {
  const auto capacity =
      static_cast<std::int32_t>(std::min<std::size_t>(text.size(), std::numeric_limits<std::int32_t>::max()));
  std::vector<unsigned char> scratch(text.size());
  const std::int32_t count = Base64ToStr(text.c_str(), scratch.data(), capacity);
  return std::make_unique<BinaryElem>(scratch.data(), static_cast<unsigned int>(count));
}

// The value that the tag just ended delivers to the tag around it, or null. Takes the record's element.
std::unique_ptr<Element> valueOf(ElementData& record, int type) {
  std::unique_ptr<Element> held(std::exchange(record.element, nullptr));
  switch (type) {
    case argTag:
      return held != nullptr ? std::move(held) : std::make_unique<StringElem>(record.text);
    case childTag:
    case listTag:
    case mapTag:
      return held;
    case integerTag:
      return std::make_unique<IntegerElem>(StringToi(record.text));
    case stringTag:
      return std::make_unique<StringElem>(record.text);
    case booleanTag:
      return std::make_unique<BooleanElem>(record.text);
    case doubleTag:
      return std::make_unique<DoubleElem>(readDouble(record.text.c_str()));
    case nullTag:
      return std::make_unique<NullElem>();
    case binaryTag:
      return binaryOf(record.text);
    default:
      // Composites are not rebuilt: they are dropped with all their contents, like unknown tags.
      return nullptr;
  }
}

// Passes the value to the tag around it, and deletes it if there is no place for it.
void attach(ElementData& parent, const std::string& name, std::unique_ptr<Element> value) {
  switch (parent.type) {
    case methodTag:
    case mapTag:
      put(*parent.element, name, std::move(value));
      break;
    case responseTag:
    case exceptionTag:
      put(*parent.element, "result", std::move(value));
      break;
    case argTag:
    case childTag:
      delete std::exchange(parent.element, value.release());
      break;
    case listTag:
      // The fast append, by design: the entries of a parsed list have neither name nor parent.
      static_cast<ListElem*>(parent.element)->add(value.get());
      static_cast<void>(value.release());
      break;
    default:
      break;
  }
}

}  // namespace

XMLSAXParser::XMLSAXParser() = default;

XMLSAXParser::~XMLSAXParser() {
  for (const ElementData* record : stack) {
    delete record->element;
    delete record;
  }
}

int XMLSAXParser::parseMessage(char* text, int length) {
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> owner(XML_ParserCreate(nullptr),
                                                                           XML_ParserFree);
  if (owner == nullptr) throw std::bad_alloc();
  XML_SetUserData(owner.get(), this);
  XML_SetElementHandler(owner.get(), SAXstartElement, SAXendElement);
  XML_SetCharacterDataHandler(owner.get(), SAXcharData);

  stopped = false;
  expat = owner.get();
  // Never declared complete (XML_FALSE): a truncated message is not an error.
  const XML_Status status = XML_Parse(expat, text, length, XML_FALSE);
  expat = nullptr;
  if (failure != nullptr) std::rethrow_exception(std::exchange(failure, nullptr));
  if (status == XML_STATUS_OK) return 0;

  std::fprintf(stderr, "%s at line %d\n", XML_ErrorString(XML_GetErrorCode(owner.get())),
               static_cast<int>(XML_GetCurrentLineNumber(owner.get())));
  return -1;
}

Element* XMLSAXParser::getResult() {
  return result;
}

int XMLSAXParser::getElementType(const char* name) {
  for (const auto& [reference, type] : tagTypes) {
    if (std::strncmp(name, reference, 2) == 0) return type;
  }
  return unknownTag;
}

int XMLSAXParser::addAttributes(std::map<std::string, std::string>& attributes, const char** pairs) {
  for (const char** pair = pairs; *pair != nullptr; pair += 2) attributes[pair[0]] = pair[1];
  return 0;
}

void XMLSAXParser::openTag(const char* name, const char** attributes) {
  if (stack.size() >= deepestNesting) {
    stop();
    return;
  }
  const int type = getElementType(name);
  if (type == unknownTag) std::puts("UNKNOWN TYPE\r");
  std::unique_ptr<Element> element = elementFor(type);
  auto owner = std::make_unique<ElementData>();
  stack.push_back(owner.get());
  ElementData& record = *owner.release();
  record.type = type;
  record.element = element.release();
  // No other tag has an attribute that is read: the encoding of a string is not.
  if (isRoot(type) || type == argTag || type == childTag) addAttributes(record.attributes, attributes);
}

void XMLSAXParser::closeTag(const char* name) {
  if (stack.empty()) return;
  const int type = getElementType(name);
  const std::unique_ptr<ElementData> record(stack.back());
  stack.pop_back();

  if (isRoot(type)) {
    // Never attached, wherever it is nested: a "message" inside an exception is read as a method and dropped.
    std::unique_ptr<Element> message(std::exchange(record->element, nullptr));
    if (message == nullptr) return;
    describeRoot(*message, *record, type);
    // A result that an earlier root left is not freed: the caller may own it by now.
    result = message.release();
    return;
  }
  std::unique_ptr<Element> value = valueOf(*record, type);
  if (value != nullptr && !stack.empty())
    attach(*stack.back(), attributeOf(*record, "name"), std::move(value));
}

void XMLSAXParser::appendText(const char* text, int length) {
  if (!stack.empty() && length > 0) stack.back()->text.append(text, static_cast<std::size_t>(length));
}

void XMLSAXParser::stop() {
  stopped = true;
  if (expat != nullptr) XML_StopParser(expat, XML_FALSE);
}

template <typename Step>
void XMLSAXParser::guarded(Step step) {
  // Expat may still report the end of the tag at which it was stopped.
  if (stopped) return;
  try {
    step();
  } catch (...) {
    if (expat == nullptr) throw;
    // Expat is C: an exception must not unwind through it.
    failure = std::current_exception();
    stop();
  }
}

void SAXstartElement(void* parser, const char* name, const char** attributes) {
  auto* reader = static_cast<XMLSAXParser*>(parser);
  reader->guarded([&] { reader->openTag(name, attributes); });
}

void SAXendElement(void* parser, const char* name) {
  auto* reader = static_cast<XMLSAXParser*>(parser);
  reader->guarded([&] { reader->closeTag(name); });
}

void SAXcharData(void* parser, const char* text, int length) {
  auto* reader = static_cast<XMLSAXParser*>(parser);
  reader->guarded([&] { reader->appendText(text, length); });
}
