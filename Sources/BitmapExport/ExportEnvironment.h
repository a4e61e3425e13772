#pragma once

#include <cstddef>

// What the bitmap export takes from its surroundings, one for the process. Only tests change it.
struct ExportEnvironment {
  // Gets the block that the host receives: zero-filled, or null, as calloc(). free() must be able to take it.
  void* (*allocateZeroed)(std::size_t count, std::size_t size);
};

ExportEnvironment& exportEnvironment();
