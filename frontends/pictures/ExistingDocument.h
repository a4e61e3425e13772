#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "FileMark.h"
#include "OwnedDescriptor.h"
#include "PictureFormat.h"

namespace frontend {

// A larger document is not appended to: the offsets of a TIFF end at 4 GiB, and the pages need room as well.
inline constexpr std::uint64_t largestExistingDocument = std::uint64_t{4000} * 1024 * 1024;

// A PDF or TIFF file, made by any program, to which pages are appended. Never written to: the new document is
// another file, which replaces it. Examined whole before anything is scanned, so that nothing can be wrong
// with it afterwards but the disk. Locked against other programs that append as well. Blocks like the file
// system, and reads all of the document. Errors throw OutputError. One thread.
class ExistingDocument {
 public:
  // Nothing if there is no such file. Throws for one that cannot be appended to: a link or not a regular
  // file, one that the user may not change, in use, of another format, damaged, encrypted, signed, too large.
  static std::unique_ptr<ExistingDocument> open(const std::string& path, PictureFormat format);

  // For reading, at any position; it stays the object's.
  int descriptor() const { return descriptor_.get(); }
  std::uint32_t pages() const { return pages_; }
  // Whether the path still names this file, and nobody has changed it.
  bool isUnchanged() const;
  // Gives a file the permissions of this one and, as far as the system allows it, its owner and group.
  void copyPermissionsTo(int descriptor) const;

 private:
  ExistingDocument(std::string path, platform::OwnedDescriptor descriptor);
  void examine(PictureFormat format);

  std::string path_;
  platform::OwnedDescriptor descriptor_;
  platform::FileMark mark_;
  std::uint32_t pages_ = 0;
};

}  // namespace frontend
