#include <gtest/gtest.h>

#include <map>
#include <string>

#include "Bed.h"
#include "PaperSize.h"

namespace {

using namespace frontend;

// Of the bed of the same unit, which is as wide as the widest landscape sheet.
bool fitsTheBedsWidth(double length, LengthUnit unit) {
  return length <= bedWidthInches * (unit == LengthUnit::inches ? 1 : millimetresPerInch);
}

TEST(PaperSize, IsTurnedForEveryUprightSheetThatFitsTheBedThatWayRound) {
  std::map<std::string, PaperSize> papers;
  for (const PaperSize& paper : paperSizes()) papers.emplace(paper.name, paper);
  EXPECT_EQ(papers.size(), paperSizes().size());
  std::size_t turned = 0;
  for (const auto& [name, paper] : papers) {
    if (name.ends_with("-landscape")) continue;
    const auto landscape = papers.find(name + "-landscape");
    const bool wanted = paper.height > paper.width && fitsTheBedsWidth(paper.height, paper.unit);
    ASSERT_EQ(landscape != papers.end(), wanted) << name;
    if (!wanted) continue;
    ++turned;
    EXPECT_EQ(landscape->second.width, paper.height) << name;
    EXPECT_EQ(landscape->second.height, paper.width) << name;
    EXPECT_EQ(landscape->second.unit, paper.unit) << name;
  }
  EXPECT_EQ(turned, 10U);
}

}  // namespace
