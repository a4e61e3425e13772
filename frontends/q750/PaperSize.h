#pragma once

#include <span>
#include <string>
#include <string_view>

#include "Area.h"

namespace frontend {

// A paper size by its name.
struct PaperSize {
  std::string_view name;
  double width;
  double height;
  LengthUnit unit;
};

// Every size there is.
std::span<const PaperSize> paperSizes();

// The part of the bed that a sheet of this size covers in the top left corner. The case of the name
// does not matter. Throws ValueError for an unknown name.
AreaRequest areaOfPaper(const std::string& name);

// A line for each paper, for the help: name and size.
std::string paperHelp();

}  // namespace frontend
