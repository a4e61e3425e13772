#pragma once

#include <string>
#include <utility>

#include "Ascii.h"

// The words for a boolean in text, in any ASCII case.

inline bool meansTrue(std::string text) {
  const std::string word = ascii::lowered(std::move(text));
  return word == "true" || word == "y" || word == "yes";
}

inline bool meansFalse(std::string text) {
  const std::string word = ascii::lowered(std::move(text));
  return word == "false" || word == "n" || word == "no";
}
