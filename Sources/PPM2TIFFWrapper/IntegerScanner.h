#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

// Reads decimal integers off a text, one after the other, each with an optional sign and white space before
// it. Borrows the text. A number out of range becomes the nearest 32-bit integer. Where no number stands, the
// scanner stays where it is and goes on answering nothing.
class IntegerScanner {
 public:
  explicit IntegerScanner(std::string_view text) : rest_(text) {}

  std::optional<std::int32_t> scanInt();

 private:
  std::string_view rest_;
};
