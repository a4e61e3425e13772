// Writes a remote call as an XML message, reads it back, and keeps an object with its class in the object
// store. Needs no scanner.
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

#include "CompositeElem.h"
#include "ElementIterator.h"
#include "Exceptions.h"
#include "IntegerElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "ObjectStore.h"
#include "OperationElem.h"
#include "StringElem.h"
#include "XMLSAXParser.h"
#include "XMLVisitor.h"

namespace {

// A container owns what is added to it.
std::unique_ptr<Element> scanSettings() {
  auto window = std::make_unique<MapElem>();
  window->addChild("width", new IntegerElem(2550));
  window->addChild("height", new IntegerElem(3507));

  auto settings = std::make_unique<MapElem>();
  settings->addChild("resolution", new IntegerElem(300));
  settings->addChild("scanWindow", window.release());
  settings->addChild("_note", new StringElem("a name with an underscore before it is private"));
  return settings;
}

// The call of one method with these arguments.
std::string callMessage(const std::string& object, const std::string& method, Element& arguments) {
  constexpr int callMethod = 5;
  constexpr int requestId = 7;
  XMLVisitor writer(callMethod, requestId, object, method, "");
  arguments.accept(&writer);

  char* bytes = nullptr;  // from malloc, to be freed here
  unsigned int length = 0;
  writer.createMemoryDump(&bytes, &length);
  std::string message(bytes, length);
  std::free(bytes);
  return message;
}

// The contents of the message: its kind, its number and its arguments. Null if it cannot be read.
std::unique_ptr<Element> readMessage(std::string message) {
  XMLSAXParser reader;
  if (reader.parseMessage(message.data(), static_cast<int>(message.size())) != 0) return nullptr;
  return std::unique_ptr<Element>(reader.getResult());
}

void printTree(const std::string& name, Element& element, const std::string& indent = "") {
  if (!element.instanceOf(NonterminalElem::_type)) {
    std::cout << indent << name << " = " << element.stringValue() << "\n";
    return;
  }
  std::cout << indent << name << ":\n";
  const std::unique_ptr<ElementIterator> children(element.iterator());
  while (children->hasNext()) {
    const std::string childName = children->nextName();
    printTree(childName, *children->next(), indent + "  ");
  }
}

// Two methods: functions that run with the object and the arguments of the call.
Element* setUpScanner(Element* scanner, ListElem* arguments) {
  scanner->addChild("place", arguments->getChild(0U)->clone());
  return scanner;
}

Element* describeScanner(Element* scanner, ListElem* /*arguments*/) {
  return new StringElem("the scanner on the " + scanner->getChild("place")->stringValue() + " scans at " +
                        scanner->getChild("resolution")->stringValue() + " dots per inch");
}

// A class is a composite below "sys.class". Its objects inherit its methods and the attributes that they do
// not set themselves.
void defineScannerClass() {
  auto scannerClass = std::make_unique<CompositeElem>(nullptr);
  scannerClass->addChild("instantiate", new OperationElem(setUpScanner));
  scannerClass->addChild("describe", new OperationElem(describeScanner));
  scannerClass->addChild("resolution", new IntegerElem(300));
  ObjectStore.getElement("sys.class")->addChild("scanner", scannerClass.release());
}

void printDescription(const std::string& object) {
  const std::unique_ptr<Element> answer(ObjectStore.callMethod(object, "describe", nullptr));
  std::cout << answer->stringValue() << "\n";
}

void useMessages() {
  ListElem arguments;
  arguments.add(scanSettings().release());
  const std::string message = callMessage("jobFactory", "create", arguments);
  std::cout << message << "\n";
  if (const std::unique_ptr<Element> call = readMessage(message)) printTree("message", *call);
}

void useObjectStore() {
  defineScannerClass();
  ListElem place;
  place.add("desk");
  ObjectStore.setAttribute("office", ObjectStore.instantiate("scanner", &place));
  printDescription("office");

  ObjectStore.setAttribute("office", "resolution", new IntegerElem(150));
  printDescription("office");

  Element* const office = ObjectStore.getObject("office");
  std::cout << ObjectStore.getName(office) << " is element " << office->getFullName() << "\n";
  printDescription("cellar");
}

}  // namespace

int main() {
  useMessages();
  try {
    useObjectStore();
  } catch (const ObjectStoreException& failure) {
    std::cout << "refused: " << failure.getMessage() << "\n";
  }
}
