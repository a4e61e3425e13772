#include "OutputFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "FileName.h"
#include "OutputError.h"
#include "PrivateName.h"

namespace frontend {
namespace {

constexpr int attempts = 100;  // a random name that exists is one in 2^32: something else is wrong then

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

[[noreturn]] void throwError(const std::string& path, int error) {
  const std::string folder = folderOf(path);
  if (error == ENOENT) {
    throw OutputError(path + ": the folder " + folder + " does not exist. Create it or choose another.");
  }
  if (error == EACCES || error == EPERM || error == EROFS) {
    throw OutputError(path + ": you may not write to the folder " + folder + ". Choose another one.");
  }
  if (error == EEXIST) throw OutputError(path + ": a file with this name already exists.");
  throw OutputError(path + ": " + std::generic_category().message(error) + ".");
}

// The name under which the system links a file that has none (open(2), O_TMPFILE). Takes no memory.
class DescriptorName {
 public:
  explicit DescriptorName(int descriptor) {
    std::snprintf(text_, sizeof text_, "/proc/self/fd/%d", descriptor);
  }
  const char* text() const { return text_; }

 private:
  char text_[32];
};

// Empty where the file system, the kernel or a missing /proc does not allow it.
platform::OwnedDescriptor openNameless(const std::string& folder) {
  platform::OwnedDescriptor file(open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
  if (file.get() >= 0 && access(DescriptorName(file.get()).text(), F_OK) != 0) file.reset();
  return file;
}

// 0 or an errno. A file system that cannot sync is not an error: nothing else would be any safer there.
int syncDescriptor(int descriptor) {
  while (fsync(descriptor) != 0) {
    if (errno != EINTR) return errno == EINVAL ? 0 : errno;
  }
  return 0;
}

int syncFolder(const std::string& folder) {
  const platform::OwnedDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A folder may be writable and yet not readable: then its entries reach the disk when the system likes.
  return descriptor.get() < 0 ? 0 : syncDescriptor(descriptor.get());
}

// Takes the name by an empty file, which the renaming then replaces.
int renameToReservedName(const char* from, const char* to) {
  const platform::OwnedDescriptor reserved(open(to, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (reserved.get() < 0) return -1;
  if (rename(from, to) == 0) return 0;
  const int error = errno;
  unlink(to);
  errno = error;
  return -1;
}

// As rename(), but fails with EEXIST where the new name is taken.
int renameToFreeName(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  if (link(from, to) == 0) return unlink(from);  // NFS cannot do it in one step
  // Folders shared with a virtual machine, and some of FUSE, have no links either.
  return errno == EEXIST ? -1 : renameToReservedName(from, to);
}

std::string savedPathFor(const std::string& path) {
  const std::string extension = extensionOf(path);
  return savedNameIn(folderOf(path)) + (extension.empty() ? "" : "." + extension);
}

}  // namespace

OutputFile::OutputFile(const std::string& path)
    : path_(path),
      folder_(folderOf(path)),
      savedPath_(savedPathFor(path)),
      privatePath_(privateNameIn(folder_)),
      descriptor_(openNameless(folder_)) {
  if (descriptor_.get() < 0) createPrivateFile();
  // Distinguishes this file from one that a killed process left, except on a file system without locks.
  flock(descriptor_.get(), LOCK_EX | LOCK_NB);
}

OutputFile::~OutputFile() {
  if (hasPrivateName_) unlink(privatePath_.c_str());
}

void OutputFile::createPrivateFile() {
  constexpr int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  for (int attempt = 0; attempt < attempts && descriptor_.get() < 0; ++attempt) {
    if (attempt > 0) privatePath_ = privateNameIn(folder_);
    descriptor_ = platform::OwnedDescriptor(open(privatePath_.c_str(), flags, 0666));
    if (descriptor_.get() < 0 && errno != EEXIST) break;
  }
  hasPrivateName_ = descriptor_.get() >= 0;
  if (!hasPrivateName_) throwError(path_, errno);
}

void OutputFile::sync() {
  if (syncError_ == 0) syncError_ = syncDescriptor(descriptor_.get());
  if (syncError_ != 0) throwError(path_, syncError_);
}

bool OutputFile::link(const std::string& name) {
  const DescriptorName own(descriptor_.get());
  return linkat(AT_FDCWD, own.text(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

void OutputFile::takeName(const std::string& name, ExistingFile existing) {
  if (!hasPrivateName_) {
    if (link(name)) return;
    if (errno != EEXIST || existing == ExistingFile::keep) throwError(name, errno);
    // A link cannot replace a file: this one gets a private name first, which is then renamed.
    hasPrivateName_ = link(privatePath_);
    if (!hasPrivateName_) throwError(name, errno);
  }
  const int renamed = existing == ExistingFile::keep ? renameToFreeName(privatePath_.c_str(), name.c_str())
                                                     : rename(privatePath_.c_str(), name.c_str());
  if (renamed != 0) throwError(name, errno);
  hasPrivateName_ = false;
}

void OutputFile::commit(ExistingFile existing) {
  sync();
  takeName(path_, existing);
  committed_ = true;
  if (const int error = syncFolder(folder_); error != 0) throwError(path_, error);
}

std::string OutputFile::keep() {
  sync();
  if (committed_) return std::move(path_);
  takeName(savedPath_, ExistingFile::keep);
  syncFolder(folder_);  // its own error does not matter: that of commit() is the one to report
  return std::move(savedPath_);
}

bool OutputFile::check(const std::string& path) {
  struct stat status {};
  const bool exists = lstat(path.c_str(), &status) == 0;
  if (!exists && !path.empty() && errno != ENOENT) throwError(path, errno);
  if (path.empty() || path.back() == '/' || (exists && S_ISDIR(status.st_mode))) {
    throw OutputError(path + ": this is a folder. Give the name of a file in it.");
  }
  if (exists && !S_ISREG(status.st_mode) && !S_ISLNK(status.st_mode)) {
    throw OutputError(path + ": this is not a regular file and will not be replaced. Choose another name.");
  }
  removeAbandonedFiles(folderOf(path));
  const OutputFile probe(path);  // the only reliable test of permissions, quotas and read-only file systems
  return exists;
}

}  // namespace frontend
