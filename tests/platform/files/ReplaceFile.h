#pragma once

#include <cstddef>
#include <string>

#include "TemporaryFile.h"

// Replaces the file `path` by one that holds exactly these bytes, in the steps of a TemporaryFile. Returns
// false if one of them failed.
inline bool replaceFile(const std::string& path, const void* bytes, std::size_t count) {
  platform::TemporaryFile file(path);
  return file.writeAt(0, bytes, count) && file.replaceTarget();
}
