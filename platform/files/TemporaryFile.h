#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "FileMark.h"

namespace platform {

// A private file (mode 0600, opened anew, never through a link) in the folder of the file that it is to
// replace, its target. Goes away with the object unless it has taken the target's place by then. Knows
// nothing of what it holds. Nothing is synced to the disk: a power cut may lose the bytes, a crash of the
// process cannot.
//
// Its name is fixed by the target and the user, so that the next run finds and removes what a crash left
// behind; a lock tells such a file from one that is in use. Where the fixed name is in use or belongs to
// somebody else, a random one serves. One thread at a time.
class TemporaryFile {
 public:
  // Holds no file.
  TemporaryFile() = default;
  // Creates the file for this target. isOpen() tells whether it could be done; it never is where the process
  // keeps no files (FileKeeping.h).
  explicit TemporaryFile(std::string target);
  TemporaryFile(TemporaryFile&& other) noexcept;
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile();

  bool isOpen() const { return descriptor_ >= 0; }
  // Where the file stands now: under its private name, or under the target's once it took its place.
  const std::string& path() const { return inPlace_ ? target_ : privatePath_; }

  // Writes all bytes at this offset. False on failure (no file, disk full, ...); `*written`, if given, tells
  // how many bytes, from the first on, are in the file then.
  bool writeAt(std::uint64_t offset, const void* bytes, std::size_t count, std::size_t* written = nullptr);

  // Takes the target's place; whatever stood there is gone. On failure both stay as they are.
  bool replaceTarget();
  // Trades places with `inPlace`, which took the same target's place before: afterwards this file stands
  // under the target's name and that one under the private name. If another process put its own file in the
  // target's place meanwhile, that one goes, as it would in replaceTarget(). False, with both as they were,
  // where the file system cannot do this or either name is gone.
  bool exchangeWith(TemporaryFile& inPlace);

  // Remembers how the file is now, for isAsLeft().
  void leave();
  // Whether path() still names this very file, and nobody wrote to it, cut it or linked it elsewhere since
  // leave().
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
