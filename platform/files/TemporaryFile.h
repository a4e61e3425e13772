#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "FileMark.h"

namespace platform {

// A private file (mode 0600, opened anew, never through a link) in the folder of the file that it is to
// replace, its target. Removed by the destructor, unless it has taken the target's place by then. Independent
// of its content. Nothing is synced to the disk: a power cut may lose bytes, a crash of the process cannot.
//
// Its name depends on the target and the user alone, so that the next run finds and removes what a crash left
// behind; a lock distinguishes such a file from one in use. Where that name is in use or belongs to another
// user, a random one is appended. One thread at a time.
class TemporaryFile {
 public:
  // Holds no file.
  TemporaryFile() = default;
  // Creates the file for this target. isOpen() is false on failure, and if the process keeps no files
  // (FileKeeping.h).
  explicit TemporaryFile(std::string target);
  TemporaryFile(TemporaryFile&& other) noexcept;
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  bool isOpen() const { return descriptor_ >= 0; }
  // The current path: under the private name, or the target's once the file took its place.
  const std::string& path() const { return inPlace_ ? target_ : privatePath_; }

  // Writes all bytes at this offset. False on failure (no file, disk full, ...); `*written`, if given, is
  // then the number of bytes, from the first on, that are in the file.
  bool writeAt(std::uint64_t offset, const void* bytes, std::size_t count, std::size_t* written = nullptr);

  // Takes the target's place and replaces what was there. On failure both stay as they are.
  bool replaceTarget();
  // Exchanges places with `inPlace`, which took the same target's place before: afterwards this file has the
  // target's name and the other one the private name. If another process put a file of its own in the
  // target's place meanwhile, that file is removed, as it would be by replaceTarget(). False, with both
  // unchanged, if the file system cannot do this or either name no longer exists.
  bool exchangeWith(TemporaryFile& inPlace);

  // Remembers the file's current state, for isAsLeft().
  void leave();
  // Whether path() still names this very file, and no process wrote to it, truncated it or linked it
  // elsewhere since leave().
  bool isAsLeft() const;

 private:
  bool createAt(std::string path);
  void discard();

  std::string target_;
  std::string privatePath_;
  int descriptor_ = -1;
  bool inPlace_ = false;
  std::optional<FileMark> left_;
};

}  // namespace platform
