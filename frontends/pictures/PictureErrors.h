#pragma once

#include <stdexcept>

namespace frontend {

// A picture cannot be written. what() is a sentence for people: what is wrong, and what to do about it.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// A name stands for no picture format, or for one that cannot hold the picture. what() as above.
class FormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace frontend
