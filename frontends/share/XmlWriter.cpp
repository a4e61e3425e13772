#include "XmlWriter.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "EsclNames.h"

namespace frontend::share {
namespace {

constexpr char replacement = '?';

// The length of the UTF-8 character at the beginning, and its code point; 0 for what is none, which includes
// longer forms than needed and halves of surrogate pairs.
struct Character {
  std::size_t length;
  char32_t code;
};

Character firstCharacter(std::string_view text) {
  const auto byteAt = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byteAt(0);
  if (lead < 0x80) return {1, lead};
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
  char32_t code = lead & (0x7FU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return {0, 0};
    code = code << 6 | (byteAt(i) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest.at(length) || code > 0x10FFFF || surrogate) return {0, 0};
  return {length, code};
}

bool isAllowedInXml(char32_t code) {
  return code >= ' ' ? code != 0xFFFE && code != 0xFFFF : code == '\t' || code == '\n' || code == '\r';
}

// Nothing for a character that stays as it is. A carriage return would be read as a line feed.
std::string_view escapeFor(char32_t code) {
  switch (code) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&apos;";
    case '\r':
      return "&#13;";
    default:
      return {};
  }
}

}  // namespace

std::string xmlText(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto [length, code] = firstCharacter(text);
    if (length == 0 || !isAllowedInXml(code)) {
      result += replacement;
    } else if (const std::string_view escape = escapeFor(code); !escape.empty()) {
      result += escape;
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

XmlWriter::XmlWriter(std::string_view root) : text_("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n") {
  text_.append("<").append(root);
  text_.append(" xmlns:pwg=\"").append(escl::pwgNamespace).append("\"");
  text_.append(" xmlns:scan=\"").append(escl::scanNamespace).append("\">\n");
  open_.push_back(root);
}

void XmlWriter::indent() {
  text_.append(2 * open_.size(), ' ');
}

void XmlWriter::open(std::string_view name) {
  indent();
  text_.append("<").append(name).append(">\n");
  open_.push_back(name);
}

void XmlWriter::close() {
  const std::string_view name = open_.back();
  open_.pop_back();
  indent();
  text_.append("</").append(name).append(">\n");
}

void XmlWriter::leaf(std::string_view name, std::string_view text) {
  indent();
  text_.append("<").append(name).append(">").append(xmlText(text)).append("</").append(name).append(">\n");
}

std::string XmlWriter::finish() {
  while (!open_.empty()) close();
  return std::move(text_);
}

}  // namespace frontend::share
