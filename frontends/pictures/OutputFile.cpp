#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <system_error>

#include "OutputError.h"

namespace frontend {
namespace {

constexpr int attempts = 100;  // a random name that exists is one in 2^64: something else is wrong then

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Not derived from the final name, which may already have the greatest length that the file system allows. In
// the same folder, since rename() does not cross file systems.
std::string privateNameIn(const std::string& folder) {
  std::random_device random;
  char name[40];
  std::snprintf(name, sizeof name, "/.q750-%08x%08x.part", random(), random());
  return folder + name;
}

[[noreturn]] void throwError(const std::string& path, int error) {
  const std::string folder = folderOf(path);
  if (error == ENOENT) {
    throw OutputError(path + ": the folder " + folder + " does not exist. Create it or choose another.");
  }
  if (error == EACCES || error == EPERM || error == EROFS) {
    throw OutputError(path + ": you may not write to the folder " + folder + ". Choose another one.");
  }
  throw OutputError(path + ": " + std::generic_category().message(error) + ".");
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path) {
  const std::string folder = folderOf(path);
  for (int attempt = 0; attempt < attempts && descriptor_ < 0; ++attempt) {
    privatePath_ = privateNameIn(folder);
    descriptor_ = open(privatePath_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (descriptor_ < 0 && errno != EEXIST) break;
  }
  if (descriptor_ < 0) throwError(path, errno);
}

OutputFile::~OutputFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (!privatePath_.empty()) unlink(privatePath_.c_str());
}

void OutputFile::commit() {
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (close(descriptor) != 0) throwError(path_, errno);  // NFS and quotas report a full disk only here
  if (rename(privatePath_.c_str(), path_.c_str()) != 0) throwError(path_, errno);
  privatePath_.clear();
}

void OutputFile::check(const std::string& path) {
  struct stat status {};
  const bool exists = lstat(path.c_str(), &status) == 0;
  if (!exists && !path.empty() && errno != ENOENT) throwError(path, errno);
  if (path.empty() || path.back() == '/' || (exists && S_ISDIR(status.st_mode))) {
    throw OutputError(path + ": this is a folder. Give the name of a file in it.");
  }
  if (exists && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
    throw OutputError(path + ": this is not a regular file and will not be replaced. Choose another name.");
  }
  const OutputFile probe(path);  // the only reliable test of permissions, quotas and read-only file systems
}

}  // namespace frontend
