#pragma once

#include <map>
#include <string>

class Element;

// The state of XMLSAXParser for one open tag. A plain record: deleting it does not delete the element.
struct ElementData {
  int type = 0;
  // All character data that arrived while this tag was the innermost, blanks between tags included.
  std::string text;
  // The container or message map of the tag; for "arg" and "child" the value inside, once it has ended.
  Element* element = nullptr;
  // Stored for messages, "arg" and "child" only.
  std::map<std::string, std::string> attributes;
};
