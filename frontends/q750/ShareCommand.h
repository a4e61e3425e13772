#pragma once

#include <string>
#include <vector>

namespace frontend {

// The path of the network server, which is installed beside this program and never looked for in PATH; empty
// where this program's own path is unknown. Whether there is such a file is not checked.
std::string shareProgram();

// "q750 share": becomes q750-share, the network server, which is a program and a package of its own, so that
// nobody else needs its libraries. Returns only by throwing CommandError: ioError if it is not installed
// beside this program.
[[noreturn]] void runShare(const std::vector<std::string>& arguments);

}  // namespace frontend
