#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Bed.h"
#include "Choices.h"
#include "CommandLine.h"
#include "ExitCode.h"
#include "Fault.h"
#include "ManualPage.h"
#include "PaperSize.h"
#include "PictureFormat.h"
#include "TemporaryFolder.h"
#include "Version.h"

namespace {

using namespace frontend;
using testing::ElementsAreArray;
using testing::EndsWith;
using testing::HasSubstr;

const ManualPage& manualPage() {
  static const ManualPage page(Q750_MANUAL_PAGE);
  return page;
}

std::string helpOf(const std::vector<const char*>& command) {
  std::vector<const char*> arguments{"q750"};
  arguments.insert(arguments.end(), command.begin(), command.end());
  arguments.push_back("--help");
  return parseCommandLine(static_cast<int>(arguments.size()), arguments.data()).text;
}

// "--resolution" of "-r,--resolution N".
std::string longNameIn(const std::string& tag) {
  std::smatch match;
  return std::regex_search(tag, match, std::regex("--[a-z-]+")) ? match.str() : "";
}

// Long name and text of each option: those of the help of all commands, where an option of several commands
// has the texts of all of them.
std::map<std::string, std::string> optionsOfTheHelp() {
  std::map<std::string, std::string> options;
  for (const std::vector<const char*>& command :
       std::vector<std::vector<const char*>>{{}, {"list"}, {"scan"}, {"doctor"}, {"virtual"}}) {
    std::istringstream lines(helpOf(command));
    std::string option;
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("  -")) option = longNameIn(line.substr(0, line.find("  ", 2)));
      if (!line.starts_with("  ")) option.clear();
      if (!option.empty()) options[option] += line + " ";
    }
  }
  return options;
}

std::map<std::string, std::string> optionsOfTheManualPage() {
  std::map<std::string, std::string> options;
  for (const ManualPage::Entry& entry : manualPage().entries("OPTIONS"))
    options[longNameIn(entry.tag)] = entry.text;
  return options;
}

// The ranges and defaults that a text gives: "0.1 to 86400", "(default: 30)".
std::set<std::string> rangesAndDefaults(const std::string& text) {
  const std::regex fact(R"([0-9.]*[0-9]%? to [0-9.]*[0-9]%?|\(default: [^)]*\))");
  std::set<std::string> facts;
  for (std::sregex_iterator at(text.begin(), text.end(), fact), end; at != end; ++at) facts.insert(at->str());
  return facts;
}

std::vector<std::string> tagsOf(const std::string& section) {
  std::vector<std::string> tags;
  for (const ManualPage::Entry& entry : manualPage().entries(section)) tags.push_back(entry.tag);
  return tags;
}

TEST(ManualPage, NamesEveryOptionOfTheHelp) {
  const auto documented = optionsOfTheManualPage();
  const auto offered = optionsOfTheHelp();
  EXPECT_GT(offered.size(), 20U);
  for (const auto& [option, text] : offered) EXPECT_TRUE(documented.contains(option)) << option;
}

TEST(ManualPage, NamesNoOptionThatTheHelpLacks) {
  const auto offered = optionsOfTheHelp();
  for (const auto& [option, text] : optionsOfTheManualPage()) EXPECT_TRUE(offered.contains(option)) << option;
}

TEST(ManualPage, GivesTheRangesAndDefaultsOfTheHelp) {
  auto documented = optionsOfTheManualPage();
  std::size_t facts = 0;
  for (const auto& [option, text] : optionsOfTheHelp()) {
    EXPECT_EQ(rangesAndDefaults(documented[option]), rangesAndDefaults(text)) << option;
    facts += rangesAndDefaults(text).size();
  }
  EXPECT_GT(facts, 20U);
}

TEST(ManualPage, ListsTheChoicesOfTheHelp) {
  auto documented = optionsOfTheManualPage();
  auto offered = optionsOfTheHelp();
  const struct {
    const char* option;
    std::string choices;
  } cases[] = {
      {"--mode", listOf(modeNames)},
      {"--format", listOf(pictureFormatNames)},
      {"--progress", listOf(progressNames)},
      {"--resolution", listOfResolutions() + " dots per inch"},
  };
  for (const auto& one : cases) {
    EXPECT_TRUE(documented[one.option].starts_with(one.choices)) << documented[one.option];
    EXPECT_THAT(offered[one.option], HasSubstr(" " + one.choices)) << one.option;
  }
  EXPECT_THAT(documented["--quality"], HasSubstr(std::string(losslessName)));
}

TEST(ManualPage, NamesEveryFormatByItsExtension) {
  const std::string text = optionsOfTheManualPage()["--output"];
  const std::regex extension(R"(\.([a-z]+)\b)");
  std::set<std::string> formats;
  for (std::sregex_iterator at(text.begin(), text.end(), extension), end; at != end; ++at) {
    const auto type = fileTypeOf("page" + at->str());
    ASSERT_TRUE(type) << at->str();
    formats.insert(std::string(pictureFormatNames[static_cast<std::size_t>(type->format)]));
  }
  EXPECT_EQ(formats, (std::set<std::string>(pictureFormatNames.begin(), pictureFormatNames.end())));
}

TEST(ManualPage, NamesEveryFaultWithItsUsualPosition) {
  std::vector<std::string> faults;
  for (const auto& fault : virtualscanner::faultTable())
    faults.push_back(std::string(fault.name) + ":" + std::to_string(fault.defaultPosition));
  EXPECT_THAT(tagsOf("FAULTS"), ElementsAreArray(faults));
}

TEST(ManualPage, NamesEveryPaper) {
  const std::vector<ManualPage::Entry> documented = manualPage().entries("PAPERS");
  ASSERT_EQ(documented.size(), paperSizes().size());
  for (std::size_t i = 0; i < documented.size(); ++i) {
    const PaperSize& paper = paperSizes()[i];
    EXPECT_EQ(documented[i].tag, paper.name);
    std::ostringstream size;
    size << paper.width << " x " << paper.height << (paper.unit == LengthUnit::inches ? " in" : " mm");
    EXPECT_EQ(documented[i].text, size.str()) << paper.name;
  }
}

TEST(ManualPage, NamesEverySettingOfAUsersDefaults) {
  EXPECT_THAT(manualPage().text(), HasSubstr("A name is one of " + listOf(userDefaultNames()) + ". "));
}

TEST(ManualPage, NamesEveryExitCode) {
  const std::vector<ManualPage::Entry> documented = manualPage().entries("EXIT STATUS");
  ASSERT_EQ(documented.size(), exitCodes().size());
  for (std::size_t i = 0; i < documented.size(); ++i) {
    const ExitCodeDescription& code = exitCodes()[i];
    EXPECT_EQ(documented[i].tag, std::to_string(static_cast<int>(code.code)));
    EXPECT_THAT(documented[i].text,
                EndsWith(std::string(code.meaning.substr(1)) + " (" + std::string(code.name) + ")."));
  }
}

TEST(ManualPage, GivesTheSizeOfTheBedAndTheVersion) {
  std::ostringstream bed;
  bed << bedWidthInches << " x " << bedHeightInches << " inches";
  EXPECT_THAT(manualPage().text(), HasSubstr(bed.str()));
  EXPECT_THAT(contentOf(Q750_MANUAL_PAGE), HasSubstr("\"Quenvar Q750 " + std::string(version) + "\""));
}

}  // namespace
