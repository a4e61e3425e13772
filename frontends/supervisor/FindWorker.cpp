#include <dlfcn.h>
#include <link.h>
#include <sys/auxv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <string_view>

#include "SupervisedScan.h"
#include "WorkerPlaces.h"

namespace frontend {
namespace {

constexpr char anchor = 0;

// The file, program or library, that this code was loaded from; empty if unknown.
std::string ownFile() {
  Dl_info info{};
  link_map* map = nullptr;
  if (dladdr1(&anchor, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0) return {};
  // The program itself has no name here, and argv[0] need not be its path.
  const bool program = map == nullptr || map->l_name == nullptr || map->l_name[0] == '\0';
  char path[PATH_MAX];
  if (!program) return realpath(map->l_name, path) != nullptr ? path : "";
  if (realpath("/proc/self/exe", path) != nullptr) return path;
  // Without /proc: what was handed to exec().
  const auto* executed = reinterpret_cast<const char*>(getauxval(AT_EXECFN));
  return executed != nullptr && realpath(executed, path) != nullptr ? path : "";
}

bool isProgram(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && access(path.c_str(), X_OK) == 0;
}

}  // namespace

// Searches only folders of this very installation, never PATH: the program that is started here reads
// the user's documents.
std::string findWorker() {
  const std::string own = ownFile();
  const std::string folder = own.substr(0, own.rfind('/') == std::string::npos ? 0 : own.rfind('/'));
  if (!folder.empty()) {
    const std::string beside = folder + "/" + workerName;
    if (isProgram(beside)) return beside;
    for (const std::string_view place : foldersOfFrontEnds) {
      if (!folder.ends_with("/" + std::string(place))) continue;
      const std::string prefix = folder.substr(0, folder.size() - place.size());
      if (isProgram(prefix + workerFolder + "/" + workerName))
        return prefix + workerFolder + "/" + workerName;
    }
  }
  const std::string configured = std::string(configuredWorkerFolder) + "/" + workerName;
  return isProgram(configured) ? configured : "";
}

}  // namespace frontend
