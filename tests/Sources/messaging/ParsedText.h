#pragma once

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <string>

// A text parsed by libxml2; owns the document. Use it like this:
//
//   const ParsedText text("<ListElem><NullElem/></ListElem>");
//   ASSERT_NE(text.root(), nullptr);  // null: malformed
//   const std::unique_ptr<Element> list(XMLEncoding::parseListElem(text.root()));
class ParsedText {
 public:
  explicit ParsedText(const std::string& text, int options = XML_PARSE_NOBLANKS)
      : document_(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                options | XML_PARSE_NOERROR | XML_PARSE_NOWARNING)) {}
  ParsedText(const ParsedText&) = delete;
  ParsedText& operator=(const ParsedText&) = delete;
  ~ParsedText() { xmlFreeDoc(document_); }

  xmlNode* root() const { return document_ == nullptr ? nullptr : xmlDocGetRootElement(document_); }
  // The first node inside the root.
  xmlNode* first() const { return root() == nullptr ? nullptr : root()->children; }

 private:
  xmlDoc* document_;
};
