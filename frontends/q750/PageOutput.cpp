#include "PageOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <new>
#include <utility>

#include "CommandError.h"
#include "FileName.h"
#include "OutputError.h"
#include "OutputFile.h"

namespace frontend {
namespace {

// Reserves standard output for pictures: whatever libraries print there goes to standard error instead, and
// no other process inherits the descriptor.
int takeStandardOutput() {
  if (isatty(STDOUT_FILENO) == 1) {
    throw UsageError(
        "Standard output is a terminal. Redirect it to a file or a program: q750 scan -o - > page.pnm");
  }
  const int descriptor = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  if (descriptor < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
    throw OutputError("Standard output is closed.");
  return descriptor;
}

}  // namespace

PageOutput::PageOutput(const ScanPlan& plan, const Cancellation& cancellation)
    : plan_(plan), cancellation_(cancellation) {
  if (plan.toStandardOutput) standardOutput_ = takeStandardOutput();
  if (plan.filePerPage) saved_.place = SavedPages::Place::filePerPage;
  if (plan.toStandardOutput) saved_.place = SavedPages::Place::standardOutput;
  if (plan.append) existing_ = ExistingDocument::open(pathOf(1), plan.format);
  if (!existing_) return;
  saved_.before = existing_->pages();
  file_ = newFile(1);
}

PageOutput::~PageOutput() {
  if (standardOutput_ >= 0) ::close(standardOutput_);
}

std::string PageOutput::pathOf(std::uint32_t page) const {
  return plan_.filePerPage ? numberedName(plan_.output, plan_.firstPage + page - 1)
                           : expandedName(plan_.output, plan_.firstPage);
}

std::string PageOutput::check(std::uint32_t page) const {
  if (plan_.toStandardOutput || (!plan_.filePerPage && page > 1)) return "";
  const std::string path = pathOf(page);
  const bool exists = OutputFile::check(path);
  if (exists && plan_.noClobber)
    throw OutputError(path +
                      ": the file exists. Choose another name, or leave out --no-clobber to replace it.");
  return exists && !existing_ ? path : "";
}

std::unique_ptr<PictureFile> PageOutput::newFile(std::uint32_t page) const {
  return std::make_unique<PictureFile>(plan_, pathOf(page), standardOutput_, cancellation_, existing_.get());
}

// A document that was not there when pages were to be appended to it has appeared since.
ExistingFile PageOutput::existingFile() const {
  return plan_.noClobber || (plan_.append && !existing_) ? ExistingFile::keep : ExistingFile::replace;
}

void PageOutput::beginPage(std::uint32_t page, const PictureLayout& layout) {
  again_ = page == page_ && page == saved_.complete;
  page_ = page;
  if (!file_) file_ = newFile(page);
  if (plan_.filePerPage && page == 1) saved_.first = pathOf(1);  // while there is memory for it
  file_->beginPage(layout, again_);
}

void PageOutput::write(const std::uint8_t* bytes, std::size_t count) {
  file_->write(bytes, count);
}

void PageOutput::endPage() {
  file_->endPage();
  saved_.complete = page_;
  if (!plan_.filePerPage) return;
  // The file of a page that is scanned again is this batch's own.
  close(again_ ? ExistingFile::replace : existingFile());
  if (!saved_.problem.empty()) throw OutputError(std::exchange(saved_.problem, ""));
  if (std::exchange(saved_.noMemory, false)) throw std::bad_alloc();
}

void PageOutput::close(ExistingFile existing) {
  const bool partOfAPage = file_->inPage() && !holdsPages(plan_.format);  // documents hold theirs back
  SavedFile file = file_->save(existing);
  saved_.incomplete = plan_.toStandardOutput && (partOfAPage || file.pages < saved_.complete);
  file_.reset();
  saved_.problem = std::move(file.problem);
  saved_.noMemory = file.noMemory;
  if (file.pages == 0) return;
  saved_.last = std::move(file.path);
  saved_.pages = plan_.filePerPage ? page_ : file.pages;
  saved_.elsewhere = !plan_.filePerPage && file.elsewhere;
  if (plan_.filePerPage && page_ == 1 && file.elsewhere) saved_.first = saved_.last;
}

const SavedPages& PageOutput::save() {
  if (file_) close(existingFile());
  return saved_;
}

}  // namespace frontend
