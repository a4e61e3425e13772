#pragma once

#include <stdexcept>
#include <string>

#include "ExitCode.h"

namespace frontend {

// Ends the program with a message for the user, which says what is wrong and what to do, and an exit code.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

// The command line asks for something that cannot be.
class UsageError : public CommandError {
 public:
  explicit UsageError(const std::string& message) : CommandError(ExitCode::usage, message) {}
};

}  // namespace frontend
