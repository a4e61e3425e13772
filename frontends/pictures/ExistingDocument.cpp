#include "ExistingDocument.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <exception>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "ApartProcess.h"
#include "OutputError.h"
#include "PdfDocument.h"
#include "TiffDocument.h"

namespace frontend {
namespace {

[[noreturn]] void refuse(const std::string& path, const std::string& why) {
  throw OutputError(path + ": cannot append to this file: " + why);
}

[[noreturn]] void refuseToOpen(const std::string& path, int error) {
  if (error == ELOOP) refuse(path, "it is a symbolic link. Name the file that it points to.");
  if (error == EACCES || error == EPERM || error == EROFS) refuse(path, "you may not change it.");
  refuse(path, std::generic_category().message(error) + ".");
}

// What a child process finds in a document.
struct Finding {
  std::uint32_t pages;
  char complaint[300];
};
using SharedFinding = std::unique_ptr<Finding, void (*)(Finding*)>;

SharedFinding makeSharedFinding() {
  void* const place =
      mmap(nullptr, sizeof(Finding), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (place == MAP_FAILED) throw std::bad_alloc();
  return {new (place) Finding(), [](Finding* finding) { munmap(finding, sizeof *finding); }};
}

// Returns an errno.
int examineDocument(int descriptor, PictureFormat format, Finding& finding) {
  try {
    finding.pages = format == PictureFormat::pdf ? pagesOfPdf(descriptor) : pagesOfTiff(descriptor);
    return 0;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  } catch (const std::exception& error) {
    std::snprintf(finding.complaint, sizeof finding.complaint, "%s", error.what());
    return EBADMSG;
  }
}

// Throws std::exception whose text is a clause. In a process of its own: both libraries may crash where an
// allocation fails.
std::uint32_t pagesOf(int descriptor, PictureFormat format) {
  const SharedFinding finding = makeSharedFinding();
  const auto examine = [&] { return examineDocument(descriptor, format, *finding); };
  const int error = platform::runApart(examine, ENOMEM, [] { return false; }).value_or(ENOMEM);
  if (error == ENOMEM) throw std::bad_alloc();
  if (error != 0) throw std::runtime_error(finding->complaint);
  return finding->pages;
}

}  // namespace

std::unique_ptr<ExistingDocument> ExistingDocument::open(const std::string& path, PictureFormat format) {
  // For writing as well, although nothing is written: who may not change a file may not append to it. Neither
  // a link nor a pipe without a reader is waited for.
  platform::OwnedDescriptor file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0 && errno == ENOENT) return nullptr;
  if (file.get() < 0) refuseToOpen(path, errno);
  std::unique_ptr<ExistingDocument> document(new ExistingDocument(path, std::move(file)));
  document->examine(format);
  return document;
}

ExistingDocument::ExistingDocument(std::string path, platform::OwnedDescriptor descriptor)
    : path_(std::move(path)), descriptor_(std::move(descriptor)) {}

void ExistingDocument::examine(PictureFormat format) {
  struct stat status {};
  if (fstat(descriptor(), &status) != 0 || !S_ISREG(status.st_mode))
    refuse(path_, "it is not a regular file.");
  if (flock(descriptor(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
    refuse(path_, "another program is using it.");
  if (static_cast<std::uint64_t>(status.st_size) > largestExistingDocument)
    refuse(path_, "it is too large. Scan to a new file.");
  if (const auto mark = platform::FileMark::of(descriptor())) mark_ = *mark;
  try {
    pages_ = pagesOf(descriptor(), format);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    refuse(path_, std::string(error.what()) + ". Scan to a new file.");
  }
}

bool ExistingDocument::isUnchanged() const {
  return platform::FileMark::of(path_) == mark_;
}

void ExistingDocument::copyPermissionsTo(int descriptor) const {
  struct stat status {};
  if (fstat(descriptor_.get(), &status) != 0) return;
  mode_t mode = status.st_mode & 07777;
  // Only root may give files away; a member of the group keeps at least that.
  const bool owned = fchown(descriptor, status.st_uid, status.st_gid) == 0;
  const bool grouped = owned || fchown(descriptor, static_cast<uid_t>(-1), status.st_gid) == 0;
  // What was meant for one group must not serve another, and set-id bits not another owner.
  if (!owned) mode &= ~mode_t{S_ISUID | S_ISGID};
  if (!grouped) mode &= ~mode_t{S_IRWXG};
  fchmod(descriptor, mode);
}

}  // namespace frontend
