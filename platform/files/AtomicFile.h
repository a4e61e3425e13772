#pragma once

#include <cstddef>
#include <string>

#include "Data.h"

namespace platform {

// Replaces the file `path` by one that holds exactly these bytes, atomically: a private temporary in the same
// folder (mode 0600), then a rename, without syncing to the disk. A link under the name is replaced, never
// followed. False if it could not be done; the old file then stands as it was and no temporary is left.
bool replaceFile(const std::string& path, const void* bytes, std::size_t count);

// Keeps a file under a fixed name equal to a buffer that grows, replacing it atomically at each step, and yet
// writes each byte about twice over the whole life of the buffer instead of once per step. One thread at a
// time.
class GrowingFile {
 public:
  explicit GrowingFile(std::string path);
  ~GrowingFile();  // as finish()
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;

  // Makes the file hold exactly the bytes of `data`. Keeps a reference to it until another buffer comes or
  // finish() is called, since a buffer that is only appended to is what makes bringing up to date cheap.
  // False if the file could not be replaced: the old one stands as it was, what came so far waits in the
  // private file until finish(), and the next update goes on from there.
  bool update(Data& data);

  // Removes the private file that takes turns with the one under the name, and lets go of the buffer. The
  // file under the name stays.
  void finish();

 private:
  struct Impl;
  Impl* impl_;
};

}  // namespace platform
