#include "FileRules.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include "OwnedDescriptor.h"

namespace platform {
namespace {

constexpr std::uint64_t reading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t writing = reading | LANDLOCK_ACCESS_FS_WRITE_FILE;
constexpr std::uint64_t makingSockets =
    writing | LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_REMOVE_FILE;
// Everything that the first version of Landlock supports.
constexpr std::uint64_t restricted = writing | LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                     LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                                     LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG |
                                     LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                                     LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool allow(int rules, int place, std::uint64_t access) {
  landlock_path_beneath_attr rule{};
  rule.allowed_access = access;
  rule.parent_fd = place;
  return syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

// A folder is opened by opendir(): emulations of /dev and /sys treat a plain open() as that of a device.
bool allowBelow(int rules, const std::string& path, std::uint64_t access) {
  const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
  if (folder != nullptr) return allow(rules, dirfd(folder.get()), access);
  const OwnedDescriptor file(open(path.c_str(), O_PATH | O_CLOEXEC));
  // The kernel refuses a rule about folder entries for any other file.
  return file.get() < 0 || allow(rules, file.get(), access & ~std::uint64_t{LANDLOCK_ACCESS_FS_READ_DIR});
}

}  // namespace

bool restrictFiles(const ConfinementNeeds& needs) noexcept {
  landlock_ruleset_attr handled{};
  handled.handled_access_fs = restricted;
  const OwnedDescriptor rules(
      static_cast<int>(syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
  if (rules.get() < 0) return false;
  const auto allowAll = [&rules](const std::vector<std::string>& paths, std::uint64_t access) {
    return std::all_of(paths.begin(), paths.end(),
                       [&](const std::string& path) { return allowBelow(rules.get(), path, access); });
  };
  if (!allowAll(needs.readable, reading) || !allowAll(needs.devices, writing)) return false;
  if (!allowAll(needs.sockets, makingSockets)) return false;
  return syscall(SYS_landlock_restrict_self, rules.get(), 0) == 0;
}

}  // namespace platform
