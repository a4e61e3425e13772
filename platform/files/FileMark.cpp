#include "FileMark.h"

#include <sys/stat.h>

namespace platform {
namespace {

FileMark markFrom(const struct stat& status) {
  FileMark mark;
  mark.device = status.st_dev;
  mark.inode = status.st_ino;
  mark.links = status.st_nlink;
  mark.size = status.st_size;
  mark.modifiedSeconds = status.st_mtim.tv_sec;
  mark.modifiedNanoseconds = status.st_mtim.tv_nsec;
  return mark;
}

}  // namespace

std::optional<FileMark> FileMark::of(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return std::nullopt;
  return markFrom(status);
}

std::optional<FileMark> FileMark::of(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return std::nullopt;
  return markFrom(status);
}

}  // namespace platform
