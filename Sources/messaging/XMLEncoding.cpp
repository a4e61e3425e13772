#include "XMLEncoding.h"

#include <libxml/tree.h>

#include <memory>
#include <string>
#include <utility>

#include "BooleanElem.h"
#include "CompositeElem.h"
#include "DoubleElem.h"
#include "DoubleText.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "IntegerText.h"
#include "ListElem.h"
#include "MapElem.h"
#include "NullElem.h"
#include "ObjectStore.h"
#include "StringElem.h"
#include "StringUtils.h"

namespace {

// No message is nested deeper. Containers are decoded, and elements deleted, recursively: more levels could
// exhaust the stack.
constexpr int deepestNesting = 1000;

bool isElement(const xmlNode* node) {
  return node != nullptr && node->type == XML_ELEMENT_NODE;
}

// Other nodes store something else in place of children and attributes, such as a short text.
const xmlNode* childrenOf(const xmlNode* node) {
  return isElement(node) ? node->children : nullptr;
}

const xmlAttr* firstAttributeOf(const xmlNode* node) {
  return isElement(node) ? node->properties : nullptr;
}

const char* contentOf(const xmlNode* node) {
  return node == nullptr ? nullptr : reinterpret_cast<const char*>(node->content);
}

std::string orEmpty(const char* text) {
  return text == nullptr ? std::string() : text;
}

std::string textOf(const xmlNode* node) {
  return orEmpty(contentOf(childrenOf(node)));
}

std::string valueOf(const xmlAttr* attribute) {
  return orEmpty(attribute == nullptr ? nullptr : contentOf(attribute->children));
}

// An empty text is the same as a missing one.
bool equals(const std::string& text, const char* other) {
  return other != nullptr && text == other;
}

bool holdsText(const xmlNode* node, const char* text) {
  return equals(textOf(node), text);
}

using Value = std::unique_ptr<Element>;
// Creates the element of a tag; null for none. `level` is the number of containers around the tag.
using Reader = Value (*)(const xmlNode* tag, int level);

Value held(const xmlNode* node, int level);

void refuseTooDeep(int level) {
  if (level >= deepestNesting) throw NotSupportedException("Elements are nested too deeply");
}

Value list(const xmlNode* tag, int level) {
  refuseTooDeep(level);
  auto made = std::make_unique<ListElem>();
  for (const xmlNode* entry = childrenOf(tag); entry != nullptr; entry = entry->next) {
    Value value = held(entry, level + 1);
    if (value == nullptr) continue;
    made->add(value.get());
    static_cast<void>(value.release());
  }
  return made;
}

// Adds a value under a key and deletes the one that held the key before, which no longer has an owner.
void put(Element& container, const std::string& key, Value value) {
  const Value previous(container.addChild(key, value.get()));
  static_cast<void>(value.release());
}

template <typename Put>
void addEntries(const xmlNode* tag, int level, Put putEntry) {
  for (const xmlNode* wrapper = childrenOf(tag); wrapper != nullptr; wrapper = wrapper->next) {
    Value value = held(childrenOf(wrapper), level + 1);
    if (value != nullptr) putEntry(valueOf(firstAttributeOf(wrapper)), std::move(value));
  }
}

Value map(const xmlNode* tag, int level) {
  refuseTooDeep(level);
  auto made = std::make_unique<MapElem>();
  addEntries(tag, level, [&](const std::string& key, Value value) { put(*made, key, std::move(value)); });
  return made;
}

Value composite(const xmlNode* tag, int level) {
  refuseTooDeep(level);
  auto made = std::make_unique<CompositeElem>(ObjectStore.getElement(valueOf(firstAttributeOf(tag))));
  addEntries(tag, level, [&](const std::string& key, Value value) {
    // Not freed if a setter refuses it or fails: the argument list that holds it stays allocated, too.
    if (made->hasChild("_set_" + key)) {
      const Value previous(made->addChild(key, value.release()));
    } else {
      put(*made, key, std::move(value));
    }
  });
  return made;
}

Value string(const xmlNode* tag, int /*level*/) {
  return std::make_unique<StringElem>(textOf(tag));
}

Value wholeInteger(const xmlNode* tag, int /*level*/) {
  return std::make_unique<IntegerElem>(StringToi(textOf(tag)));
}

// Like atoi(), which reads leading digits and never fails, but saturating.
Value leadingInteger(const xmlNode* tag, int /*level*/) {
  return std::make_unique<IntegerElem>(readInteger(textOf(tag).c_str(), 10, nullptr));
}

Value whetherTrue(const xmlNode* tag, int /*level*/) {
  return std::make_unique<BooleanElem>(holdsText(tag, "true"));
}

Value trueOrFalse(const xmlNode* tag, int level) {
  return holdsText(tag, "true") || holdsText(tag, "false") ? whetherTrue(tag, level) : nullptr;
}

Value number(const xmlNode* tag, int /*level*/) {
  return std::make_unique<DoubleElem>(readDouble(textOf(tag).c_str()));
}

Value null(const xmlNode* /*tag*/, int /*level*/) {
  return std::make_unique<NullElem>();
}

Value nothing(const xmlNode* /*tag*/, int /*level*/) {
  return nullptr;
}

// The columns differ on purpose: the meaning of a tag depends on its place.
struct Tag {
  const char* name;
  Reader alone;
  Reader inContainer;
  Reader asArgument;
};

constexpr Tag tags[] = {
    // clang-format off
    {"ListElem",      list,         list,           list},
    {"MapElem",       map,          map,            map},
    {"CompositeElem", composite,    composite,      nothing},
    {"StringElem",    string,       string,         string},
    {"IntegerElem",   wholeInteger, leadingInteger, leadingInteger},
    {"BooleanElem",   whetherTrue,  trueOrFalse,    trueOrFalse},
    {"DoubleElem",    number,       number,         number},
    {"NullElem",      null,         null,           null},
    // clang-format on
};

Value decode(const xmlNode* node, Reader Tag::*column, int level) {
  if (!isElement(node)) return nullptr;
  for (const Tag& tag : tags) {
    if (orEmpty(reinterpret_cast<const char*>(node->name)) == tag.name) return (tag.*column)(node, level);
  }
  return nullptr;
}

Value held(const xmlNode* node, int level) {
  return decode(node, &Tag::inContainer, level);
}

const xmlNode* argumentOf(const xmlNode* first, const char* name) {
  const xmlNode* node = first;
  for (const xmlAttr* attribute = firstAttributeOf(node); attribute != nullptr;
       attribute = firstAttributeOf(node)) {
    if (equals(valueOf(attribute), name)) return node;
    node = node->next;
  }
  return nullptr;
}

}  // namespace

Element* XMLEncoding::deSerializeElement(_xmlNode* node) {
  return decode(node, &Tag::alone, 0).release();
}

ListElem* XMLEncoding::parseListElem(_xmlNode* node) {
  return static_cast<ListElem*>(list(node, 0).release());
}

MapElem* XMLEncoding::parseMapElem(_xmlNode* node) {
  return static_cast<MapElem*>(map(node, 0).release());
}

CompositeElem* XMLEncoding::parseCompositeElem(_xmlNode* node) {
  return static_cast<CompositeElem*>(composite(node, 0).release());
}

const char* XMLEncoding::parseStringArg(_xmlNode* firstArgument, const char* name) {
  return contentOf(childrenOf(argumentOf(firstArgument, name)));
}

Element* XMLEncoding::parseElemArg(_xmlNode* firstArgument, const char* name) {
  return decode(childrenOf(argumentOf(firstArgument, name)), &Tag::asArgument, 0).release();
}

ListElem* XMLEncoding::parseListElemArg(_xmlNode* firstArgument, const char* name) {
  return static_cast<ListElem*>(list(childrenOf(argumentOf(firstArgument, name)), 0).release());
}
