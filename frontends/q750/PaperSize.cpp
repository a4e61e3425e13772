#include "PaperSize.h"

#include <strings.h>

#include <cstdio>

#include "CommandError.h"

namespace frontend {
namespace {

struct Paper {
  const char* name;
  double width;
  double height;
  LengthUnit unit;
};

constexpr Paper papers[] = {
    {"a4", 210, 297, LengthUnit::millimetres},
    {"a5", 148, 210, LengthUnit::millimetres},
    {"a6", 105, 148, LengthUnit::millimetres},
    {"b5", 176, 250, LengthUnit::millimetres},
    {"b6", 125, 176, LengthUnit::millimetres},
    {"letter", 8.5, 11, LengthUnit::inches},
    {"legal", 8.5, 14, LengthUnit::inches},
    {"executive", 7.25, 10.5, LengthUnit::inches},
    {"statement", 5.5, 8.5, LengthUnit::inches},
    {"card", 85.6, 54, LengthUnit::millimetres},
    {"9x13cm", 90, 130, LengthUnit::millimetres},
    {"10x15cm", 100, 150, LengthUnit::millimetres},
    {"13x18cm", 130, 180, LengthUnit::millimetres},
    {"3.5x5in", 3.5, 5, LengthUnit::inches},
    {"4x6in", 4, 6, LengthUnit::inches},
    {"5x7in", 5, 7, LengthUnit::inches},
    {"8x10in", 8, 10, LengthUnit::inches},
};

}  // namespace

AreaRequest areaOfPaper(const std::string& name) {
  std::string names;
  for (const Paper& paper : papers) {
    if (strcasecmp(name.c_str(), paper.name) == 0)
      return {{0, paper.unit}, {0, paper.unit}, {paper.width, paper.unit}, {paper.height, paper.unit}};
    names += (names.empty() ? "" : ", ") + std::string(paper.name);
  }
  throw UsageError("--paper " + name + ": there is no such paper. Choose one of " + names +
                   ", or give the size with --area.");
}

std::string paperHelp() {
  std::string help;
  for (const Paper& paper : papers) {
    char line[80];
    std::snprintf(line, sizeof line, "  %-12s%g x %g %s\n", paper.name, paper.width, paper.height,
                  paper.unit == LengthUnit::inches ? "in" : "mm");
    help += line;
  }
  return help;
}

}  // namespace frontend
