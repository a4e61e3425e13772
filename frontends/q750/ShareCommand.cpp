#include "ShareCommand.h"

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "CommandError.h"

namespace frontend {
namespace {

// Never from PATH: what is started belongs to this installation.
std::string shareProgram() {
  std::error_code error;
  const auto own = std::filesystem::canonical("/proc/self/exe", error);
  return (own.parent_path() / "q750-share").string();
}

}  // namespace

void runShare(const std::vector<std::string>& arguments) {
  std::string program = shareProgram();
  std::vector<std::string> copies = arguments;
  std::vector<char*> argv{program.data()};
  for (std::string& argument : copies) argv.push_back(argument.data());
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  const std::string why = std::generic_category().message(errno);
  throw CommandError(ExitCode::ioError, "Sharing needs a program that cannot be started (" + program + ": " +
                                            why + "). Install the package quenvar-q750-share.");
}

}  // namespace frontend
