// Makes every file system appear to lack unnamed files, as NFS and FAT do: q750 then writes under a private
// name, which a kill leaves behind. Loaded into q750 by tools/endure (LD_PRELOAD).
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdarg>

extern "C" int open(const char* path, int flags, ...) {
  if ((flags & O_TMPFILE) == O_TMPFILE) {
    errno = EOPNOTSUPP;
    return -1;
  }
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return openat(AT_FDCWD, path, flags, mode);
}
