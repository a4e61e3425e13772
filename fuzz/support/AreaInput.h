#pragma once

#include <string>

#include "Area.h"
#include "CommandError.h"
#include "OptionValues.h"
#include "PaperSize.h"

// A value of --area or, if it is none, of --paper. Throws UsageError if it is neither.
inline frontend::AreaRequest areaOrPaper(const std::string& text) {
  try {
    return frontend::parseArea(text);
  } catch (const frontend::UsageError&) {
    return frontend::valueOf("--paper", text, frontend::areaOfPaper);
  }
}

// An area on the bed as a value of --area.
inline std::string textOf(const frontend::PixelArea& area) {
  return std::to_string(area.left) + "x" + std::to_string(area.top) + "+" + std::to_string(area.width) + "x" +
         std::to_string(area.height) + "px";
}
