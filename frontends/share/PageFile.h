#pragma once

#include <cstddef>
#include <cstdint>

#include "OwnedDescriptor.h"

namespace frontend::share {

// An encoded page, on disk instead of in memory, which grows while clients read it. The file has no name: no
// one else can open it, and it is deleted with the object, however the process ends. Written through
// descriptor() by one thread; read by any.
class PageFile {
 public:
  // Creates the file in $TMPDIR, else /var/tmp, else /tmp. Throws OutputError if that is impossible.
  PageFile();

  int descriptor() const { return file_.get(); }
  // Reads up to `count` bytes from `offset`. Returns their number; 0 at the end and for an error.
  std::size_t read(std::uint64_t offset, void* bytes, std::size_t count) const noexcept;

 private:
  platform::OwnedDescriptor file_;
};

}  // namespace frontend::share
