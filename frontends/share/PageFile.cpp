#include "PageFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include "OutputError.h"

namespace frontend::share {
namespace {

// For file systems that do not support files without names: the name exists for a moment.
int openNameless(std::string folder) {
  const int file = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (file >= 0 || (errno != EOPNOTSUPP && errno != EISDIR)) return file;
  std::string path = std::move(folder) + "/q750-share-XXXXXX";
  const int named = mkostemp(path.data(), O_CLOEXEC);
  if (named >= 0) unlink(path.c_str());
  return named;
}

}  // namespace

PageFile::PageFile() {
  const char* chosen = std::getenv("TMPDIR");
  const char* const folders[] = {chosen != nullptr ? chosen : "", "/var/tmp", "/tmp"};
  for (const char* folder : folders) {
    if (folder[0] != '\0') file_ = platform::OwnedDescriptor(openNameless(folder));
    if (file_.get() >= 0) return;
  }
  throw OutputError("The page cannot be stored in /var/tmp or /tmp: " +
                    std::generic_category().message(errno) + ". Free space there, then scan again.");
}

std::size_t PageFile::read(std::uint64_t offset, void* bytes, std::size_t count) const noexcept {
  const ssize_t moved = pread(file_.get(), bytes, count, static_cast<off_t>(offset));
  return moved < 0 ? 0 : static_cast<std::size_t>(moved);
}

}  // namespace frontend::share
