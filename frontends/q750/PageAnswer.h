#pragma once

#include <cstdint>

namespace frontend {

// The user's answer to the prompt for the next page.
enum class PageAnswer : std::uint8_t {
  scan,
  scanAgain,  // the last page
  finish,
  cancel,
};

// Reads one line from `input` and nothing beyond it. A line that begins with q means finish, as does the end
// of the input, or an input that cannot be read, such as a terminal that was closed; one that begins with r
// means scanAgain, any other line scan. Blocks until then; returns cancel as soon as the descriptor
// `cancelled` is readable.
PageAnswer readPageAnswer(int input, int cancelled);

}  // namespace frontend
