#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace frontend::share {

// The text as the content of an element: markup is escaped, and what XML cannot hold (most control
// characters, bytes that are not UTF-8) becomes a question mark. Throws only std::bad_alloc.
std::string xmlText(std::string_view text);

// Writes an XML document, element by element, indented. Names are constants of the program and are not
// checked; texts are escaped. One thread. Throws nothing but std::bad_alloc.
class XmlWriter {
 public:
  // Begins the document with its root, to which the two namespaces of eSCL are bound.
  explicit XmlWriter(std::string_view root);

  // Begins an element that has only elements in it. The name is borrowed until the element is closed.
  void open(std::string_view name);
  // Ends the innermost open element.
  void close();
  // An element with a text, which may be empty.
  void leaf(std::string_view name, std::string_view text);
  void leaf(std::string_view name, std::uint64_t number) { leaf(name, std::to_string(number)); }

  // Ends the elements that are open, and with them the document, and returns it.
  std::string finish();

 private:
  void indent();

  std::string text_;
  std::vector<std::string_view> open_;
};

}  // namespace frontend::share
