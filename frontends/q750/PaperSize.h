#pragma once

#include <string>

#include "Area.h"

namespace frontend {

// The part of the glass that a sheet of this name covers: upright in the top left corner. In any case of
// letters. Throws UsageError for a name that is not known.
AreaRequest areaOfPaper(const std::string& name);

// The names and sizes of all papers, for the help.
std::string paperHelp();

}  // namespace frontend
