#pragma once

#include <string>
#include <utility>

#include "Ascii.h"

// The words that texts use for a boolean, in any case of the ASCII letters.

inline bool meansTrue(std::string text) {
  const std::string word = ascii::lowered(std::move(text));
  return word == "true" || word == "y" || word == "yes";
}

inline bool meansFalse(std::string text) {
  const std::string word = ascii::lowered(std::move(text));
  return word == "false" || word == "n" || word == "no";
}
