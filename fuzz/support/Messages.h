#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "Element.h"
#include "Exceptions.h"
#include "XMLSAXParser.h"
#include "XMLVisitor.h"

// The library's result for a message; null if it reports a failure or finds no message root.
inline std::unique_ptr<Element> readMessage(std::string_view message) {
  std::string text(message);
  XMLSAXParser parser;
  int status = -1;
  try {
    status = parser.parseMessage(text.data(), static_cast<int>(text.size()));
  } catch (const ValueConversionException&) {
    // a text that is not an integer, in its tag.
  }
  std::unique_ptr<Element> result(parser.getResult());
  return status == 0 ? std::move(result) : nullptr;
}

// The text of a response with this result.
inline std::string writeResponse(Element& result) {
  XMLVisitor writer(/*response*/ 1, /*requestID*/ 7);
  result.accept(&writer);
  char* bytes = nullptr;
  unsigned int length = 0;
  writer.createMemoryDump(&bytes, &length);
  std::string text(bytes, length);
  std::free(bytes);
  return text;
}

// What `read` returns, an element that is the caller's or null, or throws, as text.
template <typename Read>
std::string outcomeOf(Read read) {
  try {
    const std::unique_ptr<Element> element(read());
    return element == nullptr ? "nothing" : writeResponse(*element);
  } catch (const ObjectStoreException& failure) {
    return failure.getMessage();
  }
}
