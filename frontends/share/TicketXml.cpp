#include "TicketXml.h"

#include <expat.h>

#include <algorithm>
#include <climits>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "EsclNames.h"

namespace frontend::share {
namespace {

using Vocabulary = TicketElement::Vocabulary;

// Clients need four levels. The tree is deleted recursively.
constexpr std::size_t deepestNesting = 16;

// Expat puts it between the URI and the local name; no URI contains it.
constexpr char separator = ' ';

constexpr char xmlBlanks[] = " \t\r\n";

struct ExpandedName {
  Vocabulary vocabulary;
  std::string_view local;
};

ExpandedName expandedName(std::string_view name) {
  const std::size_t end = name.rfind(separator);
  if (end == std::string_view::npos) return {Vocabulary::other, name};
  const std::string_view uri = name.substr(0, end);
  const std::string_view local = name.substr(end + 1);
  if (uri == escl::pwgNamespace) return {Vocabulary::pwg, local};
  if (uri == escl::scanNamespace) return {Vocabulary::scan, local};
  return {Vocabulary::other, local};
}

bool hasMustHonor(const char** attributes) {
  for (; attributes[0] != nullptr; attributes += 2) {
    const std::string_view value = attributes[1];
    if (expandedName(attributes[0]).local == "MustHonor" && (value == "true" || value == "1")) return true;
  }
  return false;
}

void trim(std::string& text) {
  text.erase(text.find_last_not_of(xmlBlanks) + 1);
  text.erase(0, text.find_first_not_of(xmlBlanks));
}

// What the handlers, which expat calls, build.
struct Reading {
  XML_Parser parser;
  TicketElement root = {};
  std::vector<TicketElement*> open = {};  // from the root to the element that is being read
  XmlComplaint complaint = {};
  std::exception_ptr thrown = {};

  bool isOver() const { return !complaint.empty() || thrown != nullptr; }
  void refuse(const char* why) {
    complaint = why;
    XML_StopParser(parser, XML_FALSE);
  }
};

// Nothing may throw through expat, which is written in C. A stopped parser still reports the end of an empty
// element.
template <typename Step>
void guarded(void* user, const Step& step) {
  auto& reading = *static_cast<Reading*>(user);
  if (reading.isOver()) return;
  try {
    step(reading);
  } catch (...) {
    reading.thrown = std::current_exception();
    XML_StopParser(reading.parser, XML_FALSE);
  }
}

void startElement(void* user, const char* name, const char** attributes) {
  guarded(user, [&](Reading& reading) {
    if (reading.open.size() == deepestNesting) return reading.refuse("Elements are nested too deeply.");
    const auto [vocabulary, local] = expandedName(name);
    TicketElement element{vocabulary, std::string(local), "", hasMustHonor(attributes)};
    if (reading.open.empty()) {
      if (!element.is(Vocabulary::scan, "ScanSettings"))
        return reading.refuse("The root element is not ScanSettings of eSCL.");
      reading.root = std::move(element);
      reading.open.push_back(&reading.root);
      return;
    }
    // Moves the element's siblings, of which none is open, and no other element.
    auto& siblings = reading.open.back()->children;
    siblings.push_back(std::move(element));
    reading.open.push_back(&siblings.back());
  });
}

void endElement(void* user, const char* /*name*/) {
  guarded(user, [](Reading& reading) {
    trim(reading.open.back()->text);
    reading.open.pop_back();
  });
}

void characterData(void* user, const char* text, int length) {
  guarded(user, [&](Reading& reading) {
    reading.open.back()->text.append(text, static_cast<std::size_t>(length));
  });
}

void startDocumentType(void* user, const char*, const char*, const char*, int) {
  guarded(user, [](Reading& reading) { reading.refuse("A document type is not allowed."); });
}

XmlComplaint notWellFormed(XML_Parser parser) {
  const XML_Error error = XML_GetErrorCode(parser);
  if (error == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  return "The body is not well-formed XML: line " + std::to_string(XML_GetCurrentLineNumber(parser)) + ": " +
         XML_ErrorString(error) + ".";
}

}  // namespace

const TicketElement* TicketElement::child(Vocabulary itsVocabulary, std::string_view itsName) const {
  const auto found = std::find_if(children.begin(), children.end(), [&](const TicketElement& element) {
    return element.is(itsVocabulary, itsName);
  });
  return found == children.end() ? nullptr : &*found;
}

std::variant<TicketElement, XmlComplaint> readTicketXml(std::string_view body) {
  if (body.size() > INT_MAX) return XmlComplaint("The body is too large.");
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
      XML_ParserCreateNS(nullptr, separator), XML_ParserFree);
  if (parser == nullptr) throw std::bad_alloc();
  Reading reading{parser.get()};
  XML_SetUserData(parser.get(), &reading);
  XML_SetElementHandler(parser.get(), startElement, endElement);
  XML_SetCharacterDataHandler(parser.get(), characterData);
  XML_SetStartDoctypeDeclHandler(parser.get(), startDocumentType);
  const auto length = static_cast<int>(body.size());
  const bool whole = XML_Parse(parser.get(), body.data(), length, XML_TRUE) == XML_STATUS_OK;
  if (reading.thrown) std::rethrow_exception(reading.thrown);
  if (!reading.complaint.empty()) return std::move(reading.complaint);
  if (!whole) return notWellFormed(parser.get());
  return std::move(reading.root);
}

}  // namespace frontend::share
