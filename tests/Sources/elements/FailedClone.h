#pragma once

#include <string>

#include "Element.h"
#include "Thrown.h"

// The exception of clone() for a container that cannot be cloned. The partial copy stays allocated by design:
// lsan.supp lists it by the name of this function, so that the leaks of all other clones are found.
[[gnu::noinline]] inline std::string failedClone(Element& container) {
  return thrown([&] { container.clone(); });
}
