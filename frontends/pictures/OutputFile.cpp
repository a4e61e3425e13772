#include "OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <system_error>

#include "PictureErrors.h"

namespace frontend {
namespace {

constexpr int attempts = 100;

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// A short name of its own, since the final one may already be as long as names can be.
std::string privateNameIn(const std::string& folder) {
  std::random_device random;
  char name[40];
  std::snprintf(name, sizeof name, "/.q750-%08x%08x.part", random(), random());
  return folder + name;
}

[[noreturn]] void complain(const std::string& path, int error) {
  const std::string folder = folderOf(path);
  if (error == ENOENT) {
    throw OutputError(path + ": the folder " + folder + " does not exist. Create it or choose another.");
  }
  if (error == EACCES || error == EPERM || error == EROFS) {
    throw OutputError(path + ": you may not write into the folder " + folder + ". Choose another one.");
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
  if (descriptor_ < 0) complain(path, errno);
}

OutputFile::~OutputFile() {
  discard();
}

void OutputFile::discard() {
  if (descriptor_ >= 0) close(descriptor_);
  descriptor_ = -1;
  if (!privatePath_.empty()) unlink(privatePath_.c_str());
  privatePath_.clear();
}

void OutputFile::putInPlace() {
  const int descriptor = descriptor_;
  descriptor_ = -1;
  if (close(descriptor) != 0) complain(path_, errno);  // some file systems tell only now that they are full
  if (rename(privatePath_.c_str(), path_.c_str()) != 0) complain(path_, errno);
  privatePath_.clear();
}

void OutputFile::check(const std::string& path) {
  struct stat status {};
  const bool exists = lstat(path.c_str(), &status) == 0;
  if (!exists && !path.empty() && errno != ENOENT) complain(path, errno);
  if (path.empty() || path.back() == '/' || (exists && S_ISDIR(status.st_mode))) {
    throw OutputError(path + ": that is a folder. Give the name of a file in it.");
  }
  if (exists && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
    throw OutputError(path +
                      ": that is no ordinary file and is not replaced. Choose another name, or write to "
                      "standard output with -o -.");
  }
  OutputFile probe(path);
}

}  // namespace frontend
