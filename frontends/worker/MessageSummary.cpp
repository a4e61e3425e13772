#include "MessageSummary.h"

#include <expat.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <new>

namespace frontend {
namespace {

// The rest of a longer name or reason is dropped: it is shown in one sentence.
constexpr std::size_t longestText = 1000;

struct Reading {
  explicit Reading(XML_Parser readBy) : parser(readBy) {}

  XML_Parser parser;
  MessageSummary summary;
  int depth = 0;
  bool textBelongs = false;  // to the method or the reason
};

// By two characters, as the library's reader distinguishes tags: what it understands must not be unreadable
// here.
MessageKind kindOf(std::string_view tag) {
  if (tag.starts_with("me")) return MessageKind::call;
  if (tag.starts_with("re")) return MessageKind::response;
  if (tag.starts_with("ex")) return MessageKind::exception;
  return MessageKind::unreadable;
}

bool namesTheMethod(std::string_view tag, const char** attributes) {
  if (!tag.starts_with("ar")) return false;
  for (; attributes[0] != nullptr && attributes[1] != nullptr; attributes += 2) {
    if (std::string_view(attributes[0]) == "name" && std::string_view(attributes[1]) == "method") return true;
  }
  return false;
}

void startElement(void* user, const char* name, const char** attributes) {
  auto& reading = *static_cast<Reading*>(user);
  MessageSummary& summary = reading.summary;
  ++reading.depth;
  if (reading.depth == 1) summary.kind = kindOf(name);
  if (reading.depth != 2) return;
  summary.hasResult = summary.kind == MessageKind::response;
  reading.textBelongs = summary.kind == MessageKind::exception ||
                        (summary.kind == MessageKind::call && namesTheMethod(name, attributes));
}

void startDocumentType(void* user, const char*, const char*, const char*, int) {
  auto& reading = *static_cast<Reading*>(user);
  reading.summary.hasDocumentType = true;
  XML_StopParser(reading.parser, XML_FALSE);
}

void endElement(void* user, const char* /*name*/) {
  auto& reading = *static_cast<Reading*>(user);
  if (--reading.depth < 2) reading.textBelongs = false;
}

// The reason of an exception is its own text, or that of an element in it.
void characterData(void* user, const char* text, int length) {
  auto& reading = *static_cast<Reading*>(user);
  MessageSummary& summary = reading.summary;
  const bool exception = summary.kind == MessageKind::exception;
  if (!reading.textBelongs && !(exception && reading.depth == 1)) return;
  std::string& target = exception ? summary.reason : summary.method;
  target.append(text, std::min(static_cast<std::size_t>(length), longestText - target.size()));
}

void trim(std::string& text) {
  constexpr char blanks[] = " \t\r\n";
  text.erase(text.find_last_not_of(blanks) + 1);
  text.erase(0, text.find_first_not_of(blanks));
}

}  // namespace

MessageSummary summarize(std::string_view message) {
  if (message.size() > INT_MAX) return {};
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                            XML_ParserFree);
  if (parser == nullptr) throw std::bad_alloc();
  Reading reading(parser.get());
  // Nothing may throw through the parser, which is written in C.
  reading.summary.method.reserve(longestText);
  reading.summary.reason.reserve(longestText);
  XML_SetUserData(parser.get(), &reading);
  XML_SetElementHandler(parser.get(), startElement, endElement);
  XML_SetStartDoctypeDeclHandler(parser.get(), startDocumentType);
  XML_SetCharacterDataHandler(parser.get(), characterData);
  const auto length = static_cast<int>(message.size());
  const bool whole = XML_Parse(parser.get(), message.data(), length, XML_TRUE) == XML_STATUS_OK;
  if (!whole && XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  if (!whole) {
    MessageSummary unreadable;
    unreadable.hasDocumentType = reading.summary.hasDocumentType;
    return unreadable;
  }
  trim(reading.summary.method);
  trim(reading.summary.reason);
  return std::move(reading.summary);
}

}  // namespace frontend
