#include "FileCalls.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace {

FileCalls* current = nullptr;

bool isFolder(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

int callOf(long result) {
  return static_cast<int>(result);
}

}  // namespace

FileCalls::FileCalls() {
  current = this;
}

FileCalls::~FileCalls() {
  current = nullptr;
}

void FileCalls::fail(const std::string& call, int error) {
  failures_.push_back({call, error, false});
}

void FileCalls::failOnce(const std::string& call, int error) {
  failures_.push_back({call, error, true});
}

bool FileCalls::pass(const std::string& call) {
  if (current == nullptr) return true;
  if (call != "O_TMPFILE") current->names_.push_back(call);
  int error = 0;
  for (const Failure& failure : current->failures_) {
    if (failure.call == call) error = failure.error;
  }
  std::erase_if(current->failures_,
                [&call](const Failure& failure) { return failure.once && failure.call == call; });
  errno = error;
  return error == 0;
}

// The names of the C library; the program's own definitions take precedence.
extern "C" {

int fsync(int descriptor) {
  return FileCalls::pass(isFolder(descriptor) ? "fsync folder" : "fsync")
             ? callOf(syscall(SYS_fsync, descriptor))
             : -1;
}

int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
  return FileCalls::pass("linkat") ? callOf(syscall(SYS_linkat, fromFolder, from, toFolder, to, flags)) : -1;
}

int link(const char* from, const char* to) noexcept {
  return FileCalls::pass("link") ? callOf(syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0)) : -1;
}

int rename(const char* from, const char* to) noexcept {
  return FileCalls::pass("rename") ? callOf(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0)) : -1;
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
  return FileCalls::pass("renameat2") ? callOf(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags))
                                      : -1;
}

// Compiled with 64-bit offsets everywhere, as the product is, so that both use the same one of its two names.
int open(const char* path, int flags, ...) {
  const bool nameless = (flags & O_TMPFILE) == O_TMPFILE;
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 || nameless ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  if (nameless && !FileCalls::pass("O_TMPFILE")) return -1;
  return callOf(syscall(SYS_openat, AT_FDCWD, path, flags | O_LARGEFILE, mode));
}
}
