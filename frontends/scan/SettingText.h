#pragma once

#include <string>
#include <string_view>

// What the readers of configuration files share. Pure functions; any thread.
namespace frontend {

// Around names and values. A carriage return ends a line that was written on another system.
inline constexpr char settingBlanks[] = " \t\r";

// A part of the text, without the blanks at its ends.
std::string_view trimmed(std::string_view text);

// The text as one line of plain ASCII, for a message: a terminal would act on control characters, and anyone
// who can write to a folder that is searched for a file chooses its content.
std::string printable(std::string_view text);

}  // namespace frontend
