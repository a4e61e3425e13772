#include "StartPage.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "PageData.h"
#include "PageTexts.h"
#include "SettingText.h"
#include "XmlWriter.h"

namespace frontend::share {
namespace {

// The weight of a language, in thousandths: "de;q=0.7" is 700.
int weightIn(std::string_view parameters) {
  const std::size_t begin = parameters.find("q=");
  if (begin == std::string_view::npos) return 1000;
  const std::string_view number = parameters.substr(begin + 2, 5);
  double weight = 0;
  const auto [rest, error] = std::from_chars(number.data(), number.data() + number.size(), weight);
  return error == std::errc() && weight >= 0 && weight <= 1 ? static_cast<int>(weight * 1000) : 0;
}

// "de", "de-CH", "DE_at": the language without its country.
bool isLanguage(std::string_view range, std::string_view tag) {
  const auto same = [](char lower, char any) { return lower == (any | 0x20); };
  return range.size() >= tag.size() && std::equal(tag.begin(), tag.end(), range.begin(), same) &&
         (range.size() == tag.size() || range[tag.size()] == '-' || range[tag.size()] == '_');
}

// In the order of the enumeration, as the page's style names them.
constexpr std::array<std::string_view, 3> stateNames = {"idle", "processing", "down"};

std::string_view stateName(ScannerState state) {
  return stateNames.at(static_cast<std::size_t>(state));
}

// The end of a text's key.
std::string_view reachOf(const PageFacts& facts) {
  if (!facts.servesNetwork) return "-machine";
  return facts.isAnnounced ? "-network" : "-address";
}

// The value of a placeholder, escaped.
std::string valueOf(std::string_view placeholder, const PageFacts& facts, PageLanguage language) {
  if (placeholder == "lang") return std::string(tagOf(language));
  if (placeholder == "name") return xmlText(facts.name);
  if (placeholder == "address") return xmlText(facts.address);
  if (placeholder == "state-class") return std::string(stateName(facts.state));
  std::string key(placeholder);
  if (placeholder == "state") key += "-" + std::string(stateName(facts.state));
  if (placeholder == "reach") key += reachOf(facts);
  return xmlText(pageText(key, language));
}

}  // namespace

PageLanguage languageOf(std::optional<std::string_view> acceptLanguage) {
  int german = 0;
  int english = 0;
  std::string_view rest = acceptLanguage.value_or("");
  while (!rest.empty()) {
    const std::string_view item = rest.substr(0, rest.find(','));
    rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    const std::size_t end = std::min(item.find(';'), item.size());
    const std::string_view range = trimmed(item.substr(0, end));
    const int weight = weightIn(item.substr(end));
    if (isLanguage(range, "de")) german = std::max(german, weight);
    if (isLanguage(range, "en")) english = std::max(english, weight);
  }
  return german > english ? PageLanguage::german : PageLanguage::english;
}

std::string_view tagOf(PageLanguage language) {
  return language == PageLanguage::german ? "de" : "en";
}

std::string startPage(const PageFacts& facts, PageLanguage language) {
  constexpr std::string_view begin = "{{";
  constexpr std::string_view end = "}}";
  std::string page;
  std::string_view rest = pagedata::html;
  while (true) {
    const std::size_t at = rest.find(begin);
    page += rest.substr(0, at);
    if (at == std::string_view::npos) return page;
    rest.remove_prefix(at + begin.size());
    const std::size_t length = rest.find(end);
    page += valueOf(rest.substr(0, length), facts, language);
    rest.remove_prefix(length + end.size());
  }
}

PageResource pageResourceOf(RouteKind kind) {
  switch (kind) {
    case RouteKind::pageStyle:
      return {"text/css; charset=utf-8", pagedata::style};
    case RouteKind::pageScript:
      return {"text/javascript; charset=utf-8", pagedata::script};
    default:
      return {"image/png", pagedata::icon};
  }
}

}  // namespace frontend::share
