#include "MessageGlance.h"

#include <expat.h>

#include <algorithm>
#include <climits>
#include <memory>

namespace frontend {
namespace {

constexpr std::size_t longestText = 1000;

struct Glance {
  MessageGlance seen;
  int depth = 0;
  bool wanted = false;  // the text that comes belongs to the answer
};

// By two characters, as the library's reader tells tags apart: what it understands must not be called
// unreadable.
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
  auto& glance = *static_cast<Glance*>(user);
  ++glance.depth;
  if (glance.depth == 1) glance.seen.kind = kindOf(name);
  if (glance.depth != 2) return;
  glance.seen.hasResult = glance.seen.kind == MessageKind::response;
  glance.wanted = glance.seen.kind == MessageKind::exception ||
                  (glance.seen.kind == MessageKind::call && namesTheMethod(name, attributes));
}

void endElement(void* user, const char* /*name*/) {
  auto& glance = *static_cast<Glance*>(user);
  if (--glance.depth < 2) glance.wanted = false;
}

void characterData(void* user, const char* text, int length) {
  auto& glance = *static_cast<Glance*>(user);
  std::string& target = glance.seen.kind == MessageKind::call ? glance.seen.method : glance.seen.reason;
  const bool belongs = glance.wanted || (glance.seen.kind == MessageKind::exception && glance.depth == 1);
  if (belongs) target.append(text, std::min(static_cast<std::size_t>(length), longestText - target.size()));
}

void trim(std::string& text) {
  constexpr char blanks[] = " \t\r\n";
  text.erase(text.find_last_not_of(blanks) + 1);
  text.erase(0, text.find_first_not_of(blanks));
}

}  // namespace

MessageGlance glanceAt(std::string_view message) {
  if (message.size() > INT_MAX) return {};
  const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                            XML_ParserFree);
  if (parser == nullptr) return {};
  Glance glance;
  XML_SetUserData(parser.get(), &glance);
  XML_SetElementHandler(parser.get(), startElement, endElement);
  XML_SetCharacterDataHandler(parser.get(), characterData);
  const auto length = static_cast<int>(message.size());
  if (XML_Parse(parser.get(), message.data(), length, XML_TRUE) != XML_STATUS_OK) return {};
  trim(glance.seen.method);
  trim(glance.seen.reason);
  return glance.seen;
}

}  // namespace frontend
