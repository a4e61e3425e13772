// Options may be set in any order: for every two of them, whichever is set first, the scan is the same.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "FrontEnd.h"
#include "SaneOptions.h"

namespace {

// An option and a value that is not its default, as scanimage takes them.
struct Setting {
  const char* option;
  const char* text;
  SANE_Word word = 0;  // if there is no text
};

std::string nameOf(const Setting& one) {
  return std::string(one.option) + "=" + (one.text != nullptr ? one.text : std::to_string(one.word));
}

// For every option, and for the mode and what depends on it each value that behaves differently.
constexpr Setting settings[] = {
    {"mode", "Gray"},
    {"mode", "Lineart"},
    {"depth", nullptr, 1},
    {"depth", nullptr, 16},
    {"resolution", nullptr, 75},
    {"resolution", nullptr, 390},  // between two of Gray, and more than Color has
    {"resolution", nullptr, 600},
    {"source", "Flatbed"},
    {"preview", nullptr, SANE_TRUE},
    {"threshold", nullptr, 50},
    {"tl-x", nullptr, SANE_FIX(48.5)},
    {"tl-y", nullptr, SANE_FIX(73)},
    {"br-x", nullptr, SANE_FIX(57.3)},
    {"br-y", nullptr, SANE_FIX(79)},
    {"brightness", nullptr, -20},
    {"contrast", nullptr, 40},
    {"analog-gamma", nullptr, SANE_FIX(1.8)},
};

auto fieldsOf(const SANE_Parameters& one) {
  return std::tuple(one.format, one.last_frame, one.bytes_per_line, one.pixels_per_line, one.lines,
                    one.depth);
}

class OptionOrder : public FrontEnd {
 protected:
  struct Scan {
    decltype(fieldsOf({})) expected, announced;  // the parameters before and after the start
    std::vector<std::uint8_t> picture;

    friend bool operator==(const Scan&, const Scan&) = default;
  };

  // A scan of a small area of the chart, with colors and shades of gray. Options that are not named have
  // their defaults.
  Scan scanWith(const std::vector<Setting>& inOrder) {
    open();
    setMillimetres("tl-x", 46);
    setMillimetres("tl-y", 70);
    setMillimetres("br-x", 60);
    setMillimetres("br-y", 80);
    for (const Setting& one : inOrder) apply(one);
    Scan scan;
    scan.expected = fieldsOf(parameters());
    EXPECT_EQ(start(), SANE_STATUS_GOOD);
    scan.announced = fieldsOf(parameters());
    scan.picture = readAll();
    EXPECT_EQ(status, SANE_STATUS_EOF);
    library.close(handle);
    return scan;
  }

 private:
  void apply(const Setting& one) {
    const SANE_Status done = one.text != nullptr ? set(one.option, one.text) : set(one.option, one.word);
    EXPECT_EQ(done, SANE_STATUS_GOOD) << nameOf(one);
  }
};

TEST_F(OptionOrder, OfEveryTwoOptionsMakesNoDifference) {
  for (auto one = std::begin(settings); one != std::end(settings); ++one) {
    for (auto other = std::next(one); other != std::end(settings); ++other) {
      if (std::string(one->option) == other->option) continue;  // the later one counts
      const Scan scan = scanWith({*one, *other});
      EXPECT_EQ(scan.expected, scan.announced) << nameOf(*one) << " " << nameOf(*other);
      EXPECT_TRUE(scan == scanWith({*other, *one})) << nameOf(*one) << " " << nameOf(*other);
    }
  }
}

// The table above would prove nothing with values that change nothing.
TEST_F(OptionOrder, IsTestedWithValuesThatChangeTheScan) {
  const std::set<std::string> withoutEffect{"depth", "source", "preview"};
  const std::set<std::string> ofLineart{"resolution", "threshold"};  // with more effect than in Color
  for (const Setting& one : settings) {
    const bool everyMode = !ofLineart.contains(one.option);
    const Setting mode{"mode", everyMode ? "Color" : "Lineart"};
    const bool changes = !(scanWith({mode}) == scanWith({mode, one}));
    EXPECT_EQ(changes, !withoutEffect.contains(one.option)) << nameOf(one);
  }
}

TEST_F(OptionOrder, IsTestedWithEveryOptionThatCanBeSet) {
  const frontend::SaneOptions options;
  for (SANE_Int index = 0; index < frontend::SaneOptions::numberOfOptions; ++index) {
    const SANE_Option_Descriptor& option = *options.descriptor(index);
    if (!SANE_OPTION_IS_SETTABLE(option.cap)) continue;
    const bool listed = std::any_of(std::begin(settings), std::end(settings), [&](const Setting& one) {
      return std::string(one.option) == option.name;
    });
    EXPECT_TRUE(listed) << option.name;
  }
}

}  // namespace
