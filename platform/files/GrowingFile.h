#pragma once

#include <cstddef>
#include <string>

#include "Data.h"

namespace platform {

// Keeps a file under a fixed name equal to a growing buffer, replacing it atomically at each step, and yet
// writes each byte about twice over the whole life of the buffer instead of once per step: two files take
// turns under the name, and each gets only what it lacks. One thread at a time; only the constructor throws
// (std::bad_alloc).
class GrowingFile {
 public:
  explicit GrowingFile(std::string path);
  ~GrowingFile();  // as finish()
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;

  // Makes the file hold exactly the bytes of `data`. Keeps a reference to it until it is given another buffer
  // or finish() is called: knowing that the buffer was only appended to makes an update cheap. False if the
  // file could not be replaced: the old one is unchanged, what was written so far stays in the private file
  // until finish(), and the next update continues from there.
  bool update(Data& data);

  // Removes the private file of the two and releases the buffer. The file under the name stays.
  void finish();

 private:
  struct Impl;
  Impl* impl_;
};

}  // namespace platform
