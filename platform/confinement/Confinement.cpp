#include "Confinement.h"

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "FileRules.h"
#include "SystemCallFilter.h"

namespace platform {
namespace {

#ifdef Q750_SANITIZE
constexpr bool possible = false;
#else
constexpr bool possible = true;
#endif

constexpr int privilegesBit = 1;
constexpr int systemCallsBit = 2;
constexpr int filesBit = 4;

// Only ever lowers a limit: raising it could need a right.
void limitTo(int resource, rlim_t bound) {
  rlimit limit{};
  if (getrlimit(static_cast<__rlimit_resource_t>(resource), &limit) != 0) return;
  limit.rlim_cur = std::min(limit.rlim_cur, bound);
  limit.rlim_max = std::min(limit.rlim_max, bound);
  setrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
}

bool giveUpPrivileges() {
  limitTo(RLIMIT_CORE, 0);  // a core dump may contain a page
  return prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

}  // namespace

Confinement confineProcess(const ConfinementNeeds& needs) {
  Confinement result;
  if (!possible) return result;
  if (needs.memoryBytes > 0) limitTo(RLIMIT_DATA, needs.memoryBytes);
  result.privileges = giveUpPrivileges();
  result.files = restrictFiles(needs);
  result.systemCalls =
      filterSystemCalls(!needs.sockets.empty());  // last: it refuses the calls that the others make
  return result;
}

Confinement tryConfinement(const ConfinementNeeds& needs) {
  const pid_t child = fork();
  if (child == 0) {
    const Confinement there = confineProcess(needs);
    _exit((there.privileges ? privilegesBit : 0) | (there.systemCalls ? systemCallsBit : 0) |
          (there.files ? filesBit : 0));
  }
  int status = 0;
  pid_t ended = -1;
  if (child > 0) {
    do {
      ended = waitpid(child, &status, 0);
    } while (ended < 0 && errno == EINTR);
  }
  if (ended != child || !WIFEXITED(status)) return {};
  const int bits = WEXITSTATUS(status);
  return {(bits & privilegesBit) != 0, (bits & systemCallsBit) != 0, (bits & filesBit) != 0};
}

}  // namespace platform
