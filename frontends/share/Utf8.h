#pragma once

#include <cstddef>
#include <string_view>

namespace frontend::share {

// The length of the UTF-8 character at the beginning of a text, and its code point; 0 if there is none, as
// for overlong forms and halves of surrogate pairs.
struct Utf8Character {
  std::size_t length;
  char32_t code;
};

// Of a text that is not empty.
Utf8Character firstCharacter(std::string_view text);

}  // namespace frontend::share
