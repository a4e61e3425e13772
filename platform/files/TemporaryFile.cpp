#include "TemporaryFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

#include "FileKeeping.h"

namespace platform {
namespace {

constexpr int randomNameAttempts = 16;
// Keeps the private name below the 255 bytes that a name may have.
constexpr std::size_t longestNameTaken = 200;
// Below what any system moves in one call, whatever the width of its size type.
constexpr std::size_t largestWrite = std::size_t{1} << 30;

std::string fixedName(const std::string& target) {
  const std::size_t slash = target.rfind('/');
  const std::size_t name = slash == std::string::npos ? 0 : slash + 1;
  return target.substr(0, name) + "." + target.substr(name, longestNameTaken) + ".q750-" +
         std::to_string(geteuid());
}

// Empty if the system provides no random numbers.
std::string randomSuffix() {
  std::array<unsigned char, 8> random{};
  if (getentropy(random.data(), random.size()) != 0) return {};
  std::string suffix = "-";
  for (const unsigned char byte : random) {
    suffix += "0123456789abcdef"[byte >> 4];
    suffix += "0123456789abcdef"[byte & 15];
  }
  return suffix;
}

int openNew(const char* path) {
  return open(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
}

// False only if another process holds the lock; true on a file system without locks.
bool lockOrNoLocks(int descriptor) {
  return flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool names(const std::string& path, int descriptor) {
  const std::optional<FileMark> opened = FileMark::of(descriptor);
  const std::optional<FileMark> named = FileMark::of(path);
  return opened.has_value() && named.has_value() && opened->isSameFileAs(*named);
}

// Removes what a run of this user left here when it crashed; a file in use is locked.
void removeIfAbandoned(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid()) return;
  const int descriptor = open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return;
  if (flock(descriptor, LOCK_EX | LOCK_NB) == 0 && names(path, descriptor)) unlink(path.c_str());
  close(descriptor);
}

}  // namespace

TemporaryFile::TemporaryFile(std::string target) : target_(std::move(target)) {
  if (!filesAreKept()) return;
  const std::string fixed = fixedName(target_);
  removeIfAbandoned(fixed);
  if (createAt(fixed)) return;
  for (int attempt = 0; attempt < randomNameAttempts; ++attempt) {
    const int error = errno;
    if (error != EEXIST && error != EWOULDBLOCK) return;
    const std::string suffix = randomSuffix();
    if (suffix.empty() || createAt(fixed + suffix)) return;
  }
}

TemporaryFile::TemporaryFile(TemporaryFile&& other) noexcept
    : target_(std::move(other.target_)),
      privatePath_(std::move(other.privatePath_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      inPlace_(other.inPlace_),
      left_(other.left_) {}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  if (this != &other) {
    discard();
    target_ = std::move(other.target_);
    privatePath_ = std::move(other.privatePath_);
    descriptor_ = std::exchange(other.descriptor_, -1);
    inPlace_ = other.inPlace_;
    left_ = other.left_;
  }
  return *this;
}

TemporaryFile::~TemporaryFile() {
  discard();
}

// On failure the reason is in errno; after EEXIST and EWOULDBLOCK another name may work.
bool TemporaryFile::createAt(std::string path) {
  const int descriptor = openNew(path.c_str());
  if (descriptor < 0) return false;
  // Before it was locked, another process may have taken the file for an abandoned one and removed it.
  if (!lockOrNoLocks(descriptor) || !names(path, descriptor)) {
    close(descriptor);
    errno = EWOULDBLOCK;
    return false;
  }
  privatePath_ = std::move(path);
  descriptor_ = descriptor;
  return true;
}

void TemporaryFile::discard() {
  if (descriptor_ < 0) return;
  // Only if the name is still its own: another process may have put a file there by now.
  if (!inPlace_ && names(privatePath_, descriptor_)) unlink(privatePath_.c_str());
  close(descriptor_);
  descriptor_ = -1;
}

bool TemporaryFile::writeAt(std::uint64_t offset, const void* bytes, std::size_t count,
                            std::size_t* written) {
  const char* next = static_cast<const char*>(bytes);
  std::size_t done = 0;
  while (done < count) {
    const std::size_t portion = std::min(count - done, largestWrite);
    const ssize_t moved = pwrite(descriptor_, next + done, portion, static_cast<off_t>(offset + done));
    if (moved < 0 && errno == EINTR) continue;
    if (moved <= 0) break;
    done += static_cast<std::size_t>(moved);
  }
  if (written != nullptr) *written = done;
  return isOpen() && done == count;
}

bool TemporaryFile::replaceTarget() {
  if (!isOpen() || inPlace_ || rename(privatePath_.c_str(), target_.c_str()) != 0) return false;
  inPlace_ = true;
  return true;
}

bool TemporaryFile::exchangeWith(TemporaryFile& inPlace) {
#ifdef RENAME_EXCHANGE
  if (!isOpen() || inPlace_ || !inPlace.inPlace_ ||
      renameat2(AT_FDCWD, privatePath_.c_str(), AT_FDCWD, target_.c_str(), RENAME_EXCHANGE) != 0) {
    return false;
  }
  inPlace.privatePath_ = std::exchange(privatePath_, std::string());
  inPlace.inPlace_ = false;
  inPlace_ = true;
  // The exchange may have brought back another process's file; no other process knows its name now, so it is
  // removed here.
  if (!names(inPlace.privatePath_, inPlace.descriptor_)) unlink(inPlace.privatePath_.c_str());
  return true;
#else
  static_cast<void>(inPlace);
  return false;
#endif
}

void TemporaryFile::leave() {
  left_ = FileMark::of(descriptor_);
}

bool TemporaryFile::isAsLeft() const {
  return isOpen() && left_.has_value() && FileMark::of(path()) == left_;
}

}  // namespace platform
