#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace frontend::share {

// An element of a ScanSettings document. Names are those of XML namespaces, so that the prefixes that a
// client chose do not matter.
struct TicketElement {
  enum class Vocabulary : std::uint8_t { pwg, scan, other };

  Vocabulary vocabulary = Vocabulary::other;
  std::string name;        // without prefix
  std::string text;        // directly in it, without blanks at the ends
  bool mustHonor = false;  // whether the client wants an error rather than another value
  std::vector<TicketElement> children = {};

  bool is(Vocabulary itsVocabulary, std::string_view itsName) const {
    return vocabulary == itsVocabulary && name == itsName;
  }
  // The first of its children of this name, or null.
  const TicketElement* child(Vocabulary itsVocabulary, std::string_view itsName) const;
};

// Why a text is not a ScanSettings document, in printable ASCII.
using XmlComplaint = std::string;

// Reads a document, whose size has been limited, without judging any value. Refuses text that is not
// well-formed, another root, a document type, which could define entities, and elements nested deeper than
// any client nests them. Any thread. Throws nothing but std::bad_alloc.
std::variant<TicketElement, XmlComplaint> readTicketXml(std::string_view body);

}  // namespace frontend::share
