#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The standard streams of the program: results go to standard output, everything else to standard error.
namespace frontend::console {

// Whether standard error is a terminal on which a line can be redrawn.
bool isTerminal();
// The width of that terminal, or 80 if it is unknown.
std::size_t columns();

// Writes text to standard error. Errors are ignored: there is nowhere left to report them.
void writeErrors(std::string_view text);
// Writes "q750: ", a message and a line feed to standard error, as above.
void log(const std::string& message);

// Writes text to standard output, unbuffered. Throws OutputError.
void print(const std::string& text);

}  // namespace frontend::console
