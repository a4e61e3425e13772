#pragma once

#include <libxml/parser.h>

#include <memory>

#include "CompositeElem.h"
#include "ListElem.h"
#include "MapElem.h"
#include "Messages.h"
#include "Pieces.h"
#include "XMLEncoding.h"

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// Parsed as the decoder requires: without blank text nodes. Null for input that is not XML. Prints nothing
// and loads nothing.
inline Document parseDocument(Bytes bytes) {
  constexpr int options = XML_PARSE_NOBLANKS | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET;
  return {xmlReadMemory(reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size()), nullptr,
                        nullptr, options),
          xmlFreeDoc};
}
