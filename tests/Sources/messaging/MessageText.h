#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "Element.h"
#include "XMLVisitor.h"

// Message texts as written in the tests, and as produced by the writer.

// A raw string of lines as a message has them: without the first, empty line, each ended by CR LF.
inline std::string lines(std::string_view raw) {
  std::string text;
  for (const char c : raw.substr(raw.starts_with('\n') ? 1 : 0)) {
    if (c == '\n') text += '\r';
    text += c;
  }
  return text;
}

// The bytes that createMemoryDump() stores.
inline std::string dump(XMLVisitor& visitor) {
  char* bytes = nullptr;
  unsigned int length = 0;
  EXPECT_EQ(visitor.createMemoryDump(&bytes, &length), 0);
  const std::unique_ptr<char, decltype(&std::free)> owner(bytes, std::free);
  return std::string(bytes, length);
}

inline std::string dump(XMLVisitor&& visitor) {
  return dump(visitor);
}

// A whole response of request id 3 with this element.
inline std::string response(Element& element) {
  XMLVisitor visitor(1, 3);
  element.accept(&visitor);
  return dump(visitor);
}

inline std::string response(Element&& element) {
  return response(element);
}

// The same around lines of a body that are written down.
inline std::string responseText(std::string_view body) {
  return lines("<?xml version=\"1.0\"?>\n<response requestID=\"3\">\n") + lines(body) +
         lines("</response>\n");
}
