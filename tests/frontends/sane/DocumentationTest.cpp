// The manual page and the sample configuration name exactly the options, settings, ranges and defaults
// of the code.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "Bed.h"
#include "QuenvarConfig.h"
#include "SaneOptions.h"
#include "TemporaryFolder.h"

namespace {

using namespace frontend;
using testing::AllOf;
using testing::DoubleEq;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;
using Numbers = std::vector<double>;

// Plain text: without macros, fonts and escapes.
std::string plain(const std::string& line) {
  const std::string text = std::regex_replace(line, std::regex(R"(^\.[BI]+R? |\\f.| ?")"), "");
  return std::regex_replace(std::regex_replace(text, std::regex(R"(\\~)"), " "), std::regex(R"(\\)"), "");
}

// "tl-x , tl-y" are two names, "virtual on|off" is one with its values.
std::vector<std::string> namesIn(const std::string& heading) {
  std::vector<std::string> names;
  std::istringstream parts(heading);
  for (std::string part; std::getline(parts, part, ',');) {
    std::istringstream words(part);
    words >> names.emplace_back();
  }
  return names;
}

// The entries of a section of the manual page, each with its heading, by name.
std::map<std::string, std::string> entriesOf(const std::string& section) {
  std::map<std::string, std::string> entries;
  std::istringstream page(contentOf(Q750_SANE_MANUAL_PAGE));
  std::vector<std::string> names;  // of the entry
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with(".SH ")) inside = line == ".SH " + section;
    if (line.starts_with(".SH ") || line == ".PP") names.clear();
    if (inside && line == ".TP" && std::getline(page, line)) names = namesIn(plain(line));
    for (const std::string& name : names) entries[name] += plain(line) + " ";
  }
  return entries;
}

std::vector<std::string> namesOf(const std::map<std::string, std::string>& entries) {
  std::vector<std::string> names;
  for (const auto& [name, text] : entries) names.push_back(name);
  return names;
}

// Every number in the text, but for those that are parts of names.
Numbers numbersIn(const std::string& text) {
  static const std::regex number(R"(-?[0-9]+(\.[0-9]+)?)");
  const std::string words = std::regex_replace(text, std::regex(R"(A4|q750 \(1\))"), "");
  Numbers numbers;
  for (std::sregex_iterator found(words.begin(), words.end(), number), end; found != end; ++found)
    numbers.push_back(std::stod(found->str()));
  return numbers;
}

double seconds(std::chrono::milliseconds time) {
  return std::chrono::duration<double>(time).count();
}

TEST(SaneManualPage, HasAnEntryForEveryOptionAndForNoOther) {
  const SaneOptions options;
  std::vector<std::string> names;
  for (SANE_Int index = 1; index < SaneOptions::numberOfOptions; ++index) {
    const SANE_Option_Descriptor& option = *options.descriptor(index);
    if (option.type != SANE_TYPE_GROUP) names.emplace_back(option.name);
  }
  EXPECT_THAT(namesOf(entriesOf("OPTIONS")), UnorderedElementsAreArray(names));
}

TEST(SaneManualPage, HasAnEntryForEverySettingAndForNoOther) {
  EXPECT_THAT(namesOf(entriesOf("CONFIGURATION")), UnorderedElementsAreArray(QuenvarConfig::settingNames()));
}

TEST(SaneManualPage, NamesTheRangesAndDefaultsOfTheOptions) {
  auto entries = entriesOf("OPTIONS");
  Numbers resolutions(bedResolutions.begin(), bedResolutions.end());
  resolutions.push_back(limits::defaultResolution);
  EXPECT_EQ(numbersIn(entries["resolution"]), resolutions);
  EXPECT_THAT(numbersIn(entries["threshold"]),
              ElementsAre(0, limits::highestThreshold, limits::defaultThreshold));
  for (const char* name : {"brightness", "contrast"}) {
    EXPECT_THAT(numbersIn(entries[name]),
                ElementsAre(limits::lowestTonePercent, limits::highestTonePercent, 0));
  }
  EXPECT_THAT(numbersIn(entries["analog-gamma"]),
              ElementsAre(limits::lowestGammaHundredths / 100.0, limits::highestGammaHundredths / 100.0, 1));
  EXPECT_TRUE(Tone().isNeutral());
  EXPECT_THAT(numbersIn(entries["depth"]), ElementsAre(8, 1, 8, 1));
  EXPECT_THAT(numbersIn(entries["br-x"]), ElementsAre(DoubleEq(bedWidthInches * millimetresPerInch),
                                                      DoubleEq(bedHeightInches * millimetresPerInch)));
  EXPECT_THAT(entries["mode"], AllOf(HasSubstr("mode Color|Gray|Lineart "), HasSubstr("default is Color")));
}

TEST(SaneManualPage, NamesTheRangesAndDefaultsOfTheSettings) {
  auto entries = entriesOf("CONFIGURATION");
  EXPECT_THAT(numbersIn(entries["timeout"]),
              ElementsAre(seconds(limits::shortestTimeout), seconds(limits::longestTimeout),
                          seconds(limits::defaultTimeout)));
  EXPECT_THAT(numbersIn(entries["virtual-warm-up"]),
              ElementsAre(0, limits::longestVirtualWarmUp.count(), QuenvarConfig().virtualOptions.warmUpMs));
  EXPECT_THAT(numbersIn(entries["virtual-speed"]),
              ElementsAre(1, limits::highestVirtualSpeed, QuenvarConfig().virtualOptions.bytesPerSecond));
  EXPECT_THAT(numbersIn(entries["virtual-fault"]), ElementsAre(limits::mostVirtualFaults));
  for (const char* name : {"virtual", "virtual-real-time"})
    EXPECT_THAT(entries[name], AllOf(HasSubstr(" on|off "), HasSubstr("default is off"))) << name;
  EXPECT_FALSE(QuenvarConfig().virtualScanner || QuenvarConfig().virtualOptions.realTime);
}

TEST(SampleConfiguration, IsAllCommentsAndShowsTheDefaults) {
  const std::string text = contentOf(Q750_SANE_SAMPLE_CONFIGURATION);
  EXPECT_EQ(std::regex_replace(text, std::regex("(^|\n)(#[^\n]*)?(?=\n)"), ""), "\n") << "nothing is set";
  const auto config = QuenvarConfig::parse(std::regex_replace(text, std::regex("#(?=[a-z])"), ""));
  EXPECT_THAT(config.complaints, IsEmpty());
  EXPECT_EQ(config.timeout, limits::defaultTimeout);
  EXPECT_EQ(config.virtualScanner, QuenvarConfig().virtualScanner);
}

TEST(SampleConfiguration, NamesTheRangeOfTheTimeout) {
  const std::string text = contentOf(Q750_SANE_SAMPLE_CONFIGURATION);
  const std::string sentence =
      text.substr(text.find("# Time-out"), text.find("#virtual") - text.find("# Time-out"));
  EXPECT_THAT(numbersIn(sentence),
              ElementsAre(seconds(limits::shortestTimeout), seconds(limits::longestTimeout),
                          seconds(limits::defaultTimeout)));
}

}  // namespace
