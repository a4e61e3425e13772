#include "XmlWriter.h"

#include <utility>

#include "EsclNames.h"
#include "Utf8.h"

namespace frontend::share {
namespace {

constexpr char replacement = '?';

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
