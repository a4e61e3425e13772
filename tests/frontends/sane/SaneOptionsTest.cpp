#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "SaneOptions.h"
#include "Tone.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using Index = SaneOptions::Index;

constexpr SANE_Int untouched = 0x5A5A;

class SaneOptionsOf : public testing::Test {
 protected:
  SANE_Status set(SANE_Int index, SANE_Word value) {
    word = value;
    info = untouched;
    return options.set(index, &word, &info);
  }
  SANE_Status set(SANE_Int index, const char* text) {
    char value[32] = {};
    std::strncpy(value, text, sizeof value - 1);
    info = untouched;
    return options.set(index, value, &info);
  }
  SANE_Word wordOf(SANE_Int index) const {
    SANE_Word value = -1;
    EXPECT_EQ(options.get(index, &value), SANE_STATUS_GOOD);
    return value;
  }
  std::string textOf(SANE_Int index) const {
    std::vector<char> value(static_cast<std::size_t>(options.descriptor(index)->size) + 1, '#');
    EXPECT_EQ(options.get(index, value.data()), SANE_STATUS_GOOD);
    EXPECT_EQ(value.back(), '#') << "nothing is written past the size";
    return value.data();
  }
  std::vector<SANE_Word> listOf(SANE_Int index) const {
    const SANE_Word* list = options.descriptor(index)->constraint.word_list;
    return {list + 1, list + 1 + list[0]};
  }

  SaneOptions options;
  SANE_Word word = 0;
  SANE_Int info = untouched;
};

TEST_F(SaneOptionsOf, AScannerBeginWithOneThatCountsThemAndCannotBeSet) {
  const SANE_Option_Descriptor& first = *options.descriptor(0);
  EXPECT_STREQ(first.name, "");
  EXPECT_EQ(first.type, SANE_TYPE_INT);
  EXPECT_EQ(first.size, static_cast<SANE_Int>(sizeof(SANE_Word)));
  EXPECT_FALSE(SANE_OPTION_IS_SETTABLE(first.cap));
  EXPECT_EQ(wordOf(0), 17);
  EXPECT_EQ(set(0, 16), SANE_STATUS_INVAL);
  EXPECT_EQ(options.descriptor(17), nullptr);
  EXPECT_EQ(options.descriptor(-1), nullptr);
}

TEST_F(SaneOptionsOf, AScannerHaveWellFormedNamesAndTexts) {
  for (SANE_Int index = 1; index < SaneOptions::numberOfOptions; ++index) {
    const SANE_Option_Descriptor& one = *options.descriptor(index);
    EXPECT_TRUE(std::regex_match(one.name, std::regex("[a-z][a-z0-9-]*"))) << one.name;
    EXPECT_GT(std::strlen(one.title), 0U) << one.name;
    EXPECT_GT(std::strlen(one.desc), 0U) << one.name;
  }
}

TEST_F(SaneOptionsOf, AScannerHaveTheNamesAndUnitsThatFrontEndsKnow) {
  struct Known {
    Index index;
    const char* name;
    SANE_Value_Type type;
    SANE_Unit unit;
  };
  for (const Known& known : {Known{Index::mode, "mode", SANE_TYPE_STRING, SANE_UNIT_NONE},
                             {Index::depth, "depth", SANE_TYPE_INT, SANE_UNIT_BIT},
                             {Index::resolution, "resolution", SANE_TYPE_INT, SANE_UNIT_DPI},
                             {Index::source, "source", SANE_TYPE_STRING, SANE_UNIT_NONE},
                             {Index::preview, "preview", SANE_TYPE_BOOL, SANE_UNIT_NONE},
                             {Index::left, "tl-x", SANE_TYPE_FIXED, SANE_UNIT_MM},
                             {Index::top, "tl-y", SANE_TYPE_FIXED, SANE_UNIT_MM},
                             {Index::right, "br-x", SANE_TYPE_FIXED, SANE_UNIT_MM},
                             {Index::bottom, "br-y", SANE_TYPE_FIXED, SANE_UNIT_MM},
                             {Index::threshold, "threshold", SANE_TYPE_INT, SANE_UNIT_NONE},
                             {Index::brightness, "brightness", SANE_TYPE_INT, SANE_UNIT_PERCENT},
                             {Index::contrast, "contrast", SANE_TYPE_INT, SANE_UNIT_PERCENT},
                             {Index::gamma, "analog-gamma", SANE_TYPE_FIXED, SANE_UNIT_NONE}}) {
    const SANE_Option_Descriptor& one = *options.descriptor(known.index);
    EXPECT_STREQ(one.name, known.name);
    EXPECT_EQ(one.type, known.type) << known.name;
    EXPECT_EQ(one.unit, known.unit) << known.name;
  }
}

TEST_F(SaneOptionsOf, AScannerBeginWithTheWholeGlassInColorAt300) {
  EXPECT_EQ(textOf(Index::mode), "Color");
  EXPECT_EQ(textOf(Index::source), "Flatbed");
  EXPECT_EQ(wordOf(Index::resolution), 300);
  EXPECT_EQ(wordOf(Index::depth), 8);
  EXPECT_EQ(wordOf(Index::preview), SANE_FALSE);
  EXPECT_EQ(wordOf(Index::left), 0);
  EXPECT_EQ(wordOf(Index::top), 0);
  EXPECT_EQ(wordOf(Index::right), SANE_FIX(215.9));
  EXPECT_EQ(wordOf(Index::bottom), SANE_FIX(11.69 * 25.4));
}

TEST_F(SaneOptionsOf, AModeAreThoseThatItHas) {
  EXPECT_THAT(listOf(Index::resolution), ElementsAre(75, 150, 200, 300));
  EXPECT_THAT(listOf(Index::depth), ElementsAre(8));
  EXPECT_EQ(set(Index::mode, "Gray"), SANE_STATUS_GOOD);
  EXPECT_THAT(listOf(Index::resolution), ElementsAre(75, 150, 200, 300, 400, 600));
  EXPECT_THAT(listOf(Index::depth), ElementsAre(8));
  EXPECT_EQ(set(Index::mode, "Lineart"), SANE_STATUS_GOOD);
  EXPECT_THAT(listOf(Index::resolution), ElementsAre(75, 150, 200, 300, 400, 600));
  EXPECT_THAT(listOf(Index::depth), ElementsAre(1));
}

TEST_F(SaneOptionsOf, AScannerAreActiveInEveryMode) {
  for (const char* mode : {"Color", "Gray", "Lineart"}) {
    set(Index::mode, mode);
    for (SANE_Int index = 0; index < SaneOptions::numberOfOptions; ++index)
      EXPECT_TRUE(SANE_OPTION_IS_ACTIVE(options.descriptor(index)->cap)) << mode << " " << index;
  }
}

TEST_F(SaneOptionsOf, AScannerKeepTheThresholdForLineart) {
  EXPECT_EQ(wordOf(Index::threshold), 128);
  EXPECT_EQ(set(Index::threshold, 50), SANE_STATUS_GOOD);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(options.request()->threshold, std::nullopt) << "a color scan has none";
  set(Index::mode, "Lineart");
  EXPECT_EQ(wordOf(Index::threshold), 50);
  EXPECT_EQ(options.request()->threshold, std::uint8_t{50});
}

TEST_F(SaneOptionsOf, ColorAreAtMost300DotsPerInch) {
  set(Index::mode, "Gray");
  set(Index::resolution, 600);
  set(Index::mode, "Color");
  EXPECT_EQ(wordOf(Index::resolution), 300);
}

TEST_F(SaneOptionsOf, AScannerReturnToTheRequestedResolutionInAModeThatHasIt) {
  for (const SANE_Word requested : {400, 600}) {
    EXPECT_EQ(set(Index::resolution, requested), SANE_STATUS_GOOD);
    EXPECT_EQ(info & SANE_INFO_INEXACT, SANE_INFO_INEXACT);
    for (const char* mode : {"Gray", "Lineart", "Gray"}) {
      set(Index::mode, mode);
      EXPECT_EQ(wordOf(Index::resolution), requested) << mode;
      EXPECT_EQ(options.request()->settings.resolution, static_cast<std::uint32_t>(requested)) << mode;
    }
    set(Index::mode, "Color");
    EXPECT_EQ(wordOf(Index::resolution), 300) << "what will be scanned";
  }
}

TEST_F(SaneOptionsOf, AScannerForgetARequestedResolutionWithTheNextOne) {
  set(Index::resolution, 600);
  set(Index::resolution, 300);
  EXPECT_EQ(info, 0) << "a color scan is at 300 dots per inch before and after";
  set(Index::mode, "Gray");
  EXPECT_EQ(wordOf(Index::resolution), 300);
}

TEST_F(SaneOptionsOf, AScannerStayWhereTheyAreAndAsManyAsTheyAre) {
  std::vector<const SANE_Option_Descriptor*> before;
  for (SANE_Int i = 0; i < wordOf(0); ++i) before.push_back(options.descriptor(i));
  set(Index::mode, "Lineart");
  set(Index::mode, "Gray");
  EXPECT_EQ(wordOf(0), static_cast<SANE_Word>(before.size()));
  for (std::size_t i = 0; i < before.size(); ++i)
    EXPECT_EQ(options.descriptor(static_cast<SANE_Int>(i)), before[i]);
}

TEST_F(SaneOptionsOf, AScannerAreReadAnewOnlyWhereAnotherMode) {
  struct Step {
    SANE_Status status;
    SANE_Int info;
  };
  constexpr SANE_Int both = SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS;
  EXPECT_EQ(set(Index::mode, "Gray"), SANE_STATUS_GOOD);
  EXPECT_EQ(info, both);
  EXPECT_EQ(set(Index::mode, "Gray"), SANE_STATUS_GOOD);
  EXPECT_EQ(info, 0) << "nothing changed";
  set(Index::mode, "Lineart");
  EXPECT_EQ(info, both);
  set(Index::resolution, 600);
  EXPECT_EQ(info, SANE_INFO_RELOAD_PARAMS);
  set(Index::right, SANE_FIX(100));
  EXPECT_EQ(info, SANE_INFO_RELOAD_PARAMS);
  for (const Index other : {Index::threshold, Index::preview, Index::brightness, Index::contrast}) {
    set(other, 1);
    EXPECT_EQ(info, 0) << other;
    EXPECT_EQ(wordOf(other), 1);
  }
  set(Index::source, "Flatbed");
  EXPECT_EQ(info, 0);
}

TEST_F(SaneOptionsOf, AScannerRoundToTheNearestLegalValueAndSaySo) {
  set(Index::mode, "Lineart");
  struct Rounded {
    Index index;
    SANE_Word given, taken;
  };
  for (const Rounded& one : {Rounded{Index::resolution, 301, 300},
                             {Index::resolution, -5, 75},
                             {Index::resolution, 350, 300},
                             {Index::resolution, 2147483647, 600},
                             {Index::threshold, 256, 255},
                             {Index::threshold, -2147483647 - 1, 0},
                             {Index::brightness, 101, 100},
                             {Index::contrast, -101, -100},
                             {Index::gamma, 0, SANE_FIX(0.1)},
                             {Index::gamma, SANE_FIX(5.1), SANE_FIX(5)},
                             {Index::depth, 8, 1},
                             {Index::depth, 16, 1},
                             {Index::left, -1, 0},
                             {Index::right, SANE_FIX(300), SANE_FIX(215.9)},
                             {Index::bottom, SANE_FIX(297), SANE_FIX(11.69 * 25.4)}}) {
    EXPECT_EQ(set(one.index, one.given), SANE_STATUS_GOOD);
    EXPECT_TRUE(info & SANE_INFO_INEXACT) << one.index << " " << one.given;
    EXPECT_EQ(word, one.taken) << "written back: " << one.index << " " << one.given;
    EXPECT_EQ(wordOf(one.index), one.taken);
    set(one.index, one.taken);
    EXPECT_EQ(info, 0) << one.index << " " << one.taken;
  }
}

TEST_F(SaneOptionsOf, AScannerTakeEveryLengthOnTheGlassAsItIs) {
  EXPECT_EQ(set(Index::left, SANE_FIX(12.345)), SANE_STATUS_GOOD);
  EXPECT_EQ(info, SANE_INFO_RELOAD_PARAMS);
  EXPECT_EQ(wordOf(Index::left), SANE_FIX(12.345));
}

TEST_F(SaneOptionsOf, AScannerRefuseWhatIsNoValueAndKeepTheirOwn) {
  EXPECT_EQ(set(Index::mode, "Halftone"), SANE_STATUS_INVAL);
  EXPECT_EQ(set(Index::mode, ""), SANE_STATUS_INVAL);
  EXPECT_EQ(set(Index::mode, "Colorful"), SANE_STATUS_INVAL);
  EXPECT_EQ(textOf(Index::mode), "Color");
  EXPECT_EQ(set(Index::source, "ADF"), SANE_STATUS_INVAL);
  EXPECT_EQ(set(Index::preview, 2), SANE_STATUS_INVAL);
  EXPECT_EQ(wordOf(Index::preview), SANE_FALSE);
  EXPECT_EQ(options.set(Index::mode, nullptr, nullptr), SANE_STATUS_INVAL);
  EXPECT_EQ(options.get(Index::mode, nullptr), SANE_STATUS_INVAL);
  EXPECT_EQ(set(17, 1), SANE_STATUS_INVAL);
  EXPECT_EQ(set(-1, 1), SANE_STATUS_INVAL);
}

TEST_F(SaneOptionsOf, AScannerKnowTheirModesWhateverTheCase) {
  EXPECT_EQ(set(Index::mode, "gray"), SANE_STATUS_GOOD);
  EXPECT_EQ(textOf(Index::mode), "Gray");
}

TEST_F(SaneOptionsOf, AScannerReadNoStringPastItsSize) {
  const std::vector<char> unended = {'L', 'i', 'n', 'e',
                                     'a', 'r', 't', 's'};  // as long as the option, no end
  ASSERT_EQ(options.descriptor(Index::mode)->size, static_cast<SANE_Int>(unended.size()));
  EXPECT_EQ(options.set(Index::mode, const_cast<char*>(unended.data()), nullptr), SANE_STATUS_INVAL);
}

TEST_F(SaneOptionsOf, AScannerWriteNoValueThatIsLegal) {
  static constexpr char gray[] = "Gray";
  static constexpr SANE_Word fine = 600;
  EXPECT_EQ(options.set(Index::mode, const_cast<char*>(gray), nullptr), SANE_STATUS_GOOD);
  EXPECT_EQ(options.set(Index::resolution, const_cast<SANE_Word*>(&fine), nullptr), SANE_STATUS_GOOD);
}

TEST_F(SaneOptionsOf, AScannerHaveNoValueWhereTheyAreGroups) {
  for (const Index group : {Index::standardGroup, Index::geometryGroup, Index::enhancementGroup}) {
    EXPECT_EQ(options.descriptor(group)->type, SANE_TYPE_GROUP);
    EXPECT_EQ(options.get(group, &word), SANE_STATUS_INVAL);
    EXPECT_EQ(set(group, 1), SANE_STATUS_INVAL);
  }
}

TEST_F(SaneOptionsOf, AScannerBeginWithANeutralTone) {
  EXPECT_EQ(wordOf(Index::brightness), 0);
  EXPECT_EQ(wordOf(Index::contrast), 0);
  EXPECT_EQ(wordOf(Index::gamma), SANE_FIX(1));
  EXPECT_TRUE(options.request()->tone.isNeutral());
}

TEST_F(SaneOptionsOf, AScannerApplyTheToneInColorAndGray) {
  set(Index::brightness, -20);
  set(Index::contrast, 30);
  set(Index::gamma, SANE_FIX(1.8));
  EXPECT_EQ(info, 0);
  EXPECT_EQ(options.request()->tone, (Tone{-20, 30, 180}));
  set(Index::mode, "Lineart");
  EXPECT_TRUE(options.request()->tone.isNeutral()) << "its threshold applies to what the scanner sent";
  EXPECT_EQ(wordOf(Index::brightness), -20);
  set(Index::mode, "Gray");
  EXPECT_EQ(options.request()->tone, (Tone{-20, 30, 180}));
}

// Every hundredth that a front end can name, in either direction of rounding to SANE's fixed point.
TEST_F(SaneOptionsOf, AScannerScanWithTheNearestHundredthOfAGamma) {
  for (std::uint32_t hundredths = 10; hundredths <= 500; ++hundredths) {
    const auto below = static_cast<SANE_Word>(hundredths * 65536ULL / 100);
    for (const SANE_Word gamma : {below, below + 1}) {
      EXPECT_EQ(set(Index::gamma, gamma), SANE_STATUS_GOOD);
      EXPECT_EQ(options.request()->tone.gammaHundredths, hundredths) << gamma;
    }
  }
}

TEST_F(SaneOptionsOf, APreviewChangeNothingElse) {
  const auto before = options.request();
  set(Index::preview, SANE_TRUE);
  const auto after = options.request();
  EXPECT_EQ(after->settings.resolution, before->settings.resolution);
  EXPECT_EQ(after->settings.area, before->settings.area);
  EXPECT_EQ(options.expectedPicture(), options.expectedPicture());
}

TEST_F(SaneOptionsOf, AScanAskForWhatTheySay) {
  auto request = options.request();
  EXPECT_EQ(request->settings.mode, ColorMode::color);
  EXPECT_EQ(request->settings.area, (PixelArea{0, 0, 2550, 3507}));
  EXPECT_EQ(request->threshold, std::nullopt);
  set(Index::mode, "Lineart");
  set(Index::threshold, 77);
  set(Index::resolution, 600);
  set(Index::left, SANE_FIX(25.4));
  request = options.request();
  EXPECT_EQ(request->settings.mode, ColorMode::gray);
  EXPECT_EQ(request->settings.resolution, 600U);
  EXPECT_EQ(request->settings.area, (PixelArea{600, 0, 4500, 7014}));
  EXPECT_EQ(request->threshold, std::uint8_t{77});
}

TEST_F(SaneOptionsOf, CrossedCornersAreAllowedUntilTheScan) {
  EXPECT_EQ(set(Index::left, SANE_FIX(100)), SANE_STATUS_GOOD);
  EXPECT_EQ(set(Index::right, SANE_FIX(50)), SANE_STATUS_GOOD);
  EXPECT_FALSE(options.request().has_value());
  EXPECT_EQ(options.expectedPicture().bytes(), 3U);
  EXPECT_EQ(set(Index::left, SANE_FIX(10)), SANE_STATUS_GOOD);
  EXPECT_TRUE(options.request().has_value());
}

TEST_F(SaneOptionsOf, APictureExpectItsExactLayout) {
  set(Index::mode, "Lineart");
  set(Index::resolution, 75);
  EXPECT_EQ(options.expectedPicture(), (PictureLayout{637, 876, 1, 1, 75}));
  EXPECT_EQ(options.expectedPicture().rowBytes(), 80U);
  set(Index::mode, "Color");
  EXPECT_EQ(options.expectedPicture(), (PictureLayout{637, 876, 3, 8, 75}));
}

}  // namespace
