#include "PrivateName.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <random>

#include "OwnedDescriptor.h"

namespace frontend {
namespace {

// The process in a private name; 0 for any other name.
pid_t processIn(const char* name) {
  int process = 0;
  unsigned random = 0;
  int length = 0;
  const int found = std::sscanf(name, ".q750-%9d-%8x.part%n", &process, &random, &length);
  return found == 2 && length > 0 && name[length] == '\0' && process > 0 ? process : 0;
}

// This process has locked its own files. One with its id is from an earlier process that had the id, as in
// containers, where the same program always has the same.
bool mayStillWrite(pid_t process) {
  return process != getpid() && (kill(process, 0) == 0 || errno != ESRCH);
}

bool isOwnFile(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_uid == geteuid();
}

void removeIfAbandoned(int folder, const char* name) {
  struct stat named {};
  if (fstatat(folder, name, &named, AT_SYMLINK_NOFOLLOW) != 0 || !isOwnFile(named)) return;
  // What was examined may have been exchanged for a link or a pipe since: neither is opened, nor waited for.
  const platform::OwnedDescriptor file(openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat opened {};
  if (file.get() < 0 || fstat(file.get(), &opened) != 0 || opened.st_ino != named.st_ino) return;
  if (isOwnFile(opened) && flock(file.get(), LOCK_EX | LOCK_NB) == 0) unlinkat(folder, name, 0);
}

}  // namespace

std::string privateNameIn(const std::string& folder) {
  std::random_device random;
  char name[40];
  std::snprintf(name, sizeof name, "/.q750-%d-%08x.part", static_cast<int>(getpid()), random());
  return folder + name;
}

std::string savedNameIn(const std::string& folder) {
  std::random_device random;
  char name[32];
  std::snprintf(name, sizeof name, "/q750-saved-%08x", random());
  return folder + name;
}

void removeAbandonedFiles(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
  if (!entries) return;
  while (const dirent* entry = readdir(entries.get())) {
    const pid_t process = processIn(entry->d_name);
    if (process != 0 && !mayStillWrite(process)) removeIfAbandoned(dirfd(entries.get()), entry->d_name);
  }
}

}  // namespace frontend
