#pragma once

#include <string>

#include "Element.h"

// What XMLEncoding makes of the text of one tag, as the text of a tree (treeOf): "nothing" for null,
// "Class: message" for an exception, "malformed" for text that libxml2 refuses. In these the tag is
//
//   decoded("<IntegerElem>#1F</IntegerElem>")            handed to deSerializeElement             31
//   decodedInList("<IntegerElem>#1F</IntegerElem>")      the one entry of a list                  [0]
//   decodedInMap("<IntegerElem>#1F</IntegerElem>")       the entry "key" of a map                 {key: 0}
//   decodedInComposite("<IntegerElem>#1F</IntegerElem>") the same of one below "root.globals"
//   decodedArgument("<IntegerElem>#1F</IntegerElem>")    the argument handed to parseElemArg      0
std::string decoded(const std::string& tag);
std::string decodedInList(const std::string& tag);
std::string decodedInMap(const std::string& tag);
std::string decodedInComposite(const std::string& tag);
std::string decodedArgument(const std::string& tag);

// An element under a name below "sys.class" or "globals" of the object store, which the destructor deletes:
//
//   const Stored camera("sys.class", "Camera", new CompositeElem(nullptr));
//   camera->addChild("x", new NullElem);
class Stored {
 public:
  Stored(const std::string& place, const std::string& name, Element* element);
  Stored(const Stored&) = delete;
  Stored& operator=(const Stored&) = delete;
  ~Stored();

  Element* get() const { return element_; }
  Element* operator->() const { return element_; }

 private:
  std::string place_;
  std::string name_;
  Element* element_;
};
