#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "ManualPage.h"
#include "ShareConfig.h"
#include "ShareOptions.h"

namespace {

using namespace frontend::share;

std::string longNameOf(const std::string& tag) {
  std::smatch match;
  return std::regex_search(tag, match, std::regex("--[a-z-]+")) ? match.str() : "";
}

// The ranges and defaults in a text: "0 to 65535", "(default: 8750)".
std::set<std::string> factsIn(const std::string& text) {
  const std::regex fact(R"([0-9]+ to [0-9]+|\(default: [^)]*\))");
  return {std::sregex_token_iterator(text.begin(), text.end(), fact), std::sregex_token_iterator()};
}

// What the help gives of each option.
std::map<std::string, std::set<std::string>> helpOfOptions() {
  const char* const arguments[] = {"q750-share", "--help"};
  std::istringstream lines(parseShareOptions(2, arguments, "").text);
  std::map<std::string, std::string> texts;
  std::string option;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("  -")) option = longNameOf(line.substr(0, line.find("  ", 2)));
    if (!line.starts_with("  ")) option.clear();
    if (!option.empty()) texts[option] += line + " ";
  }
  std::map<std::string, std::set<std::string>> facts;
  for (const auto& [name, text] : texts) facts[name] = factsIn(text);
  return facts;
}

std::map<std::string, std::set<std::string>> manualOfOptions() {
  std::map<std::string, std::set<std::string>> facts;
  for (const ManualPage::Entry& entry : ManualPage(Q750_SHARE_MANUAL_PAGE).entries("OPTIONS"))
    facts[longNameOf(entry.tag)] = factsIn(entry.text);
  return facts;
}

TEST(ManualPageOfTheNetworkServer, HasTheOptionsOfTheHelpWithTheirRangesAndDefaults) {
  EXPECT_GT(helpOfOptions().size(), 5U);
  EXPECT_EQ(manualOfOptions(), helpOfOptions());
}

TEST(ManualPageOfTheNetworkServer, HasTheSettingsOfItsConfiguration) {
  std::set<std::string> documented;
  for (const ManualPage::Entry& entry : ManualPage(Q750_SHARE_MANUAL_PAGE).entries("CONFIGURATION")) {
    const std::regex name("[a-z_]+");
    documented.insert(std::sregex_token_iterator(entry.tag.begin(), entry.tag.end(), name),
                      std::sregex_token_iterator());
  }
  const auto settings = ShareConfig::settingNames();
  EXPECT_EQ(documented, (std::set<std::string>(settings.begin(), settings.end())));
}

}  // namespace
