#pragma once

#include <cstdint>

#include "CancelFlag.h"

namespace frontend {

enum class NextPage : std::uint8_t { scan, finish, cancel };

// What the user answers on standard input, after having been asked: a line that begins with q, or the end of
// the input, finishes; any other line scans. Takes no more than the line.
NextPage readAnswer(int descriptor, const CancelFlag& flag);

}  // namespace frontend
