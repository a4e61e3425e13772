#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace frontend {

// Standard error as the user sees it. All that the program says goes there; standard output is for what was
// asked for.
namespace console {

// Opens what the caller of the program has closed of the three standard descriptors, so that no file of ours
// gets one of their numbers and with it what is printed there. Writing to one that was closed fails.
void fillGaps();
// Whether it is a terminal on which a line can be drawn again.
bool isTerminal();
// Columns of the terminal, or 80 where it does not tell.
std::size_t columns();
// Writes text as it is. A failure shows nowhere.
void write(std::string_view text);
// "q750: " and a message, on a line of its own.
void say(const std::string& message);

}  // namespace console

}  // namespace frontend
