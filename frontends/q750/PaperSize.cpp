#include "PaperSize.h"

#include <cstdio>
#include <vector>

#include "Choices.h"
#include "OptionValues.h"

namespace frontend {
namespace {

constexpr LengthUnit mm = LengthUnit::millimetres;
constexpr LengthUnit in = LengthUnit::inches;

// ISO 216, North American sizes, ID-1 cards (ISO/IEC 7810) and photographs; in landscape too where the sheet
// fits the bed that way round.
constexpr PaperSize papers[] = {
    {"a4", 210, 297, mm},
    {"a5", 148, 210, mm},
    {"a5-landscape", 210, 148, mm},
    {"a6", 105, 148, mm},
    {"a6-landscape", 148, 105, mm},
    {"b5", 176, 250, mm},
    {"b6", 125, 176, mm},
    {"b6-landscape", 176, 125, mm},
    {"letter", 8.5, 11, in},
    {"legal", 8.5, 14, in},
    {"executive", 7.25, 10.5, in},
    {"statement", 5.5, 8.5, in},
    {"statement-landscape", 8.5, 5.5, in},
    {"card", 85.6, 54, mm},
    {"9x13cm", 90, 130, mm},
    {"9x13cm-landscape", 130, 90, mm},
    {"10x15cm", 100, 150, mm},
    {"10x15cm-landscape", 150, 100, mm},
    {"13x18cm", 130, 180, mm},
    {"13x18cm-landscape", 180, 130, mm},
    {"3.5x5in", 3.5, 5, in},
    {"3.5x5in-landscape", 5, 3.5, in},
    {"4x6in", 4, 6, in},
    {"4x6in-landscape", 6, 4, in},
    {"5x7in", 5, 7, in},
    {"5x7in-landscape", 7, 5, in},
    {"8x10in", 8, 10, in},
};

}  // namespace

std::span<const PaperSize> paperSizes() {
  return papers;
}

AreaRequest areaOfPaper(const std::string& name) {
  std::vector<std::string_view> names;
  for (const PaperSize& paper : papers) {
    if (lowerCase(name) == paper.name)
      return {{0, paper.unit}, {0, paper.unit}, {paper.width, paper.unit}, {paper.height, paper.unit}};
    names.push_back(paper.name);
  }
  throw ValueError("unknown paper. Choose " + listOf(names) + ", or give the size with --area.");
}

std::string paperHelp() {
  std::string help;
  for (const PaperSize& paper : papers) {
    char line[80];
    std::snprintf(line, sizeof line, "  %-21s%g x %g %s\n", paper.name.data(), paper.width, paper.height,
                  paper.unit == in ? "in" : "mm");
    help += line;
  }
  return help;
}

}  // namespace frontend
