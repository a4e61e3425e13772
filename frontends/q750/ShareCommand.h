#pragma once

#include <string>
#include <vector>

namespace frontend {

// "q750 share": becomes q750-share, the network server, which is a program and a package of its own, so that
// nobody else needs its libraries. Returns only by throwing CommandError: ioError if it is not installed
// beside this program.
[[noreturn]] void runShare(const std::vector<std::string>& arguments);

}  // namespace frontend
