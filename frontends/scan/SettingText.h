#pragma once

#include <string>
#include <string_view>

// What the readers of configuration files share. Pure functions; any thread.
namespace frontend {

// Around names and values. A carriage return ends a line that was written on another system.
inline constexpr char settingBlanks[] = " \t\r";

// A part of the text, without the blanks at its ends.
std::string_view trimmed(std::string_view text);

// The text as one line of plain ASCII, for a message: a terminal would act on control characters, and whoever
// can write to a folder where a file is looked for chooses what is in it.
std::string printable(std::string_view text);

}  // namespace frontend
