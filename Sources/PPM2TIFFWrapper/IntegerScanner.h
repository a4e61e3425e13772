#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// Reads decimal integers from a text, one after the other, each with an optional sign and white space before
// it. Borrows the text. A number out of range becomes the nearest 32-bit integer. The scanner does not
// advance past text that is not a number, so every further call returns nothing either.
class IntegerScanner {
 public:
  explicit IntegerScanner(std::string_view text) : rest_(text) {}

  std::optional<std::int32_t> scanInt();

 private:
  std::string_view rest_;
};
