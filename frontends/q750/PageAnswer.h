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

// Reads one line from `input` and nothing beyond it. A line that begins with q, and the end of the input,
// mean finish, one that begins with r scanAgain; any other line means scan. Blocks until then; returns cancel
// as soon as the descriptor `cancelled` is readable.
PageAnswer readPageAnswer(int input, int cancelled);

}  // namespace frontend
