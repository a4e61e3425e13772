#pragma once

#include <string>

#include "Dice.h"

namespace hostile {

// A message that no scanner sends: deep, exploding, cut off, of another kind, with control characters, or
// none at all. At most 4 MiB.
std::string hostileMessage(Dice& dice);

}  // namespace hostile
