#pragma once

#include <cstdint>

namespace frontend {

enum class NextPage : std::uint8_t { scan, finish, cancel };

// Blocks until the user has answered the prompt on `input`: a line that begins with q, or the end of the
// input, finishes; any other line scans. Reads no byte beyond the line. Returns cancel as soon as the
// descriptor `cancelled` is readable.
NextPage readAnswer(int input, int cancelled);

}  // namespace frontend
