#pragma once

#include <string>

namespace frontend {

// Writes what the user asked for to standard output, at once. Throws OutputError where it cannot be written.
void show(const std::string& text);

}  // namespace frontend
