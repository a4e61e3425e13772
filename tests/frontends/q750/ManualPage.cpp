#include "ManualPage.h"

#include <sstream>
#include <utility>

#include "TemporaryFolder.h"

namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

std::string withoutEscapes(std::string line) {
  const std::pair<const char*, const char*> escapes[] = {{"\\-", "-"},   {"\\~", " "}, {"\\(mu", "x"},
                                                         {"\\(aq", "'"}, {"\\|", ""},  {"\\fR", ""},
                                                         {"\\fB", ""},   {"\\fI", ""}};
  for (const auto& [from, to] : escapes) replaceAll(line, from, to);
  return line;
}

// The arguments of a request in two fonts, which are printed without blanks between them.
std::string joinedArguments(const std::string& arguments) {
  std::string joined;
  bool quoted = false;
  for (const char character : arguments) {
    if (character == '"') quoted = !quoted;
    if (character != '"' && (quoted || character != ' ')) joined += character;
  }
  return joined;
}

std::string argumentsOf(const std::string& request, const std::string& arguments) {
  return request.size() == 3 ? joinedArguments(arguments) : joinedArguments("\"" + arguments + "\"");
}

}  // namespace

ManualPage::ManualPage(const std::string& path) {
  sections_.emplace_back();
  bool tagFollows = false;
  std::istringstream lines(contentOf(path));
  for (std::string line; std::getline(lines, line);) {
    const std::string request = line.starts_with('.') ? line.substr(0, line.find(' ')) : "";
    const std::string rest = line.substr(std::min(line.size(), request.size() + (request.empty() ? 0 : 1)));
    if (request == ".SH") sections_.push_back({argumentsOf(".S", rest), {}, ""});
    if (request == ".TP") tagFollows = true;
    const bool isText = request.empty() || request == ".B" || request == ".I" || request == ".BI" ||
                        request == ".BR" || request == ".RB" || request == ".RI" || request == ".IR" ||
                        request == ".IB";
    if (!isText) continue;
    Section& section = sections_.back();
    const std::string text = withoutEscapes(request.empty() ? line : argumentsOf(request, rest));
    section.text += text + " ";
    if (tagFollows) {
      section.entries.push_back({text, ""});
    } else if (!section.entries.empty()) {
      section.entries.back().text += (section.entries.back().text.empty() ? "" : " ") + text;
    }
    tagFollows = false;
  }
}

std::vector<ManualPage::Entry> ManualPage::entries(const std::string& section) const {
  for (const Section& candidate : sections_) {
    if (candidate.name == section) return candidate.entries;
  }
  return {};
}

std::string ManualPage::text() const {
  std::string text;
  for (const Section& section : sections_) text += section.text;
  return text;
}
