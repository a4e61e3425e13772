#pragma once

#include <stdexcept>

namespace frontend {

// An output cannot be written. what() is one or two sentences for the user: what is wrong, and what to
// do about it.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace frontend
