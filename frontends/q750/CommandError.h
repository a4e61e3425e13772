#pragma once

#include <stdexcept>
#include <string>

#include "ExitCode.h"

namespace frontend {

// Ends the program with an exit code and a message for the user: what is wrong, and what to do about it.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

// The command line is invalid, or asks for something impossible.
class UsageError : public CommandError {
 public:
  explicit UsageError(const std::string& message) : CommandError(ExitCode::usage, message) {}
};

}  // namespace frontend
