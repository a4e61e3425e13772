#include "ShareCommand.h"

#include <sys/auxv.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <system_error>

#include "CommandError.h"

namespace frontend {

std::string shareProgram() {
  char own[PATH_MAX];
  const auto* executed = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
  const bool known = realpath("/proc/self/exe", own) != nullptr ||
                     (executed != nullptr && realpath(executed, own) != nullptr);  // without /proc
  if (!known) return "";
  std::string path(own);
  path.replace(path.rfind('/') + 1, std::string::npos, "q750-share");
  return path;
}

void runShare(const std::vector<std::string>& arguments) {
  std::string program = shareProgram();
  std::vector<std::string> copies = arguments;
  std::vector<char*> argv{program.data()};
  for (std::string& argument : copies) argv.push_back(argument.data());
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  const std::string why = std::generic_category().message(errno);
  throw CommandError(ExitCode::ioError, "The program that shares the scanner cannot be started (" + program +
                                            ": " + why + "). Install the package quenvar-q750-share.");
}

}  // namespace frontend
