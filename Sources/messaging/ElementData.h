#pragma once

#include <map>
#include <string>

class Element;

// What XMLSAXParser keeps for one open tag. A plain record: deleting it does not delete the element.
struct ElementData {
  int type = 0;
  // All character data that arrived while this tag was the innermost, blanks between tags included.
  std::string text;
  // The container or message map that the tag stands for; for "arg" and "child" the value that arrived
  // inside.
  Element* element = nullptr;
  // Kept for messages, "arg" and "child" only.
  std::map<std::string, std::string> attributes;
};
