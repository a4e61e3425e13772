#include "Decoding.h"

#include <memory>

#include "CompositeElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "ObjectStore.h"
#include "ParsedText.h"
#include "Reading.h"
#include "Thrown.h"
#include "XMLEncoding.h"

namespace {

// `make` gets the root of the text.
template <typename Make>
std::string treeMade(const std::string& text, Make make) {
  const ParsedText parsed(text);
  if (parsed.root() == nullptr) return "malformed";
  std::string tree;
  const std::string failure = thrown([&] {
    const std::unique_ptr<Element> made(make(parsed.root()));
    tree = treeOf(made.get());
  });
  return failure == "nothing" ? tree : failure;
}

std::string entry(const std::string& tag) {
  return "<child name=\"key\">" + tag + "</child>";
}

}  // namespace

std::string decoded(const std::string& tag) {
  return treeMade("<response>" + tag + "</response>",
                  [](xmlNode* root) { return XMLEncoding::deSerializeElement(root->children); });
}

std::string decodedInList(const std::string& tag) {
  return treeMade("<ListElem>" + tag + "</ListElem>", XMLEncoding::parseListElem);
}

std::string decodedInMap(const std::string& tag) {
  return treeMade("<MapElem>" + entry(tag) + "</MapElem>", XMLEncoding::parseMapElem);
}

std::string decodedInComposite(const std::string& tag) {
  return treeMade("<CompositeElem enclosure=\"root.globals\">" + entry(tag) + "</CompositeElem>",
                  XMLEncoding::parseCompositeElem);
}

std::string decodedArgument(const std::string& tag) {
  return treeMade("<method><arg name=\"value\">" + tag + "</arg></method>",
                  [](xmlNode* root) { return XMLEncoding::parseElemArg(root->children, "value"); });
}

Stored::Stored(const std::string& place, const std::string& name, Element* element)
    : place_(place), name_(name), element_(element) {
  ObjectStore.getElement(place_)->addChild(name_, element_);
}

Stored::~Stored() {
  delete ObjectStore.getElement(place_)->removeChild(name_);
}
