#pragma once

#include <cstddef>

// The external functions that the bitmap export uses, one set per process. Only tests change it.
struct ExportEnvironment {
  // Allocates the block that the host receives: zero-filled, or null, like calloc(). free() must accept it.
  void* (*allocateZeroed)(std::size_t count, std::size_t size);
};

ExportEnvironment& exportEnvironment();
