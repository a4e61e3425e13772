#include "FileRules.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdint>

#include "OwnedDescriptor.h"

namespace platform {
namespace {

constexpr std::uint64_t reading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t writing = reading | LANDLOCK_ACCESS_FS_WRITE_FILE;
// Everything that the first version of Landlock knows.
constexpr std::uint64_t restricted = writing | LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                     LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                                     LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                                     LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                                     LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;

bool allowBelow(int rules, const std::string& path, std::uint64_t access) {
  const OwnedDescriptor place(open(path.c_str(), O_PATH | O_CLOEXEC));
  struct stat status {};
  if (place.get() < 0 || fstat(place.get(), &status) != 0) return true;  // skipped
  landlock_path_beneath_attr rule{};
  // The kernel refuses a rule about the entries of what has none.
  rule.allowed_access = S_ISDIR(status.st_mode) ? access : access & ~LANDLOCK_ACCESS_FS_READ_DIR;
  rule.parent_fd = place.get();
  return syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

}  // namespace

bool restrictFiles(const std::vector<std::string>& readable,
                   const std::vector<std::string>& writable) noexcept {
  landlock_ruleset_attr handled{};
  handled.handled_access_fs = restricted;
  const OwnedDescriptor rules(
      static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
  if (rules.get() < 0) return false;
  for (const std::string& path : readable) {
    if (!allowBelow(rules.get(), path, reading)) return false;
  }
  for (const std::string& path : writable) {
    if (!allowBelow(rules.get(), path, writing)) return false;
  }
  return syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
}

}  // namespace platform
