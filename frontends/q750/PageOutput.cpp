#include "PageOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "ByteSink.h"
#include "CommandError.h"
#include "FileName.h"
#include "OutputError.h"
#include "OutputFile.h"
#include "PictureWriter.h"

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

struct PageOutput::File {
  File(const ScanPlan& plan, const std::string& path, int standardOutput, const Cancellation& cancellation)
      : onDisk(plan.toStandardOutput ? nullptr : std::make_unique<OutputFile>(path)),
        sink(onDisk ? onDisk->descriptor() : standardOutput, &cancellation),
        writer(makePictureWriter(plan.format, sink, plan.pictureSettings)) {}

  std::unique_ptr<OutputFile> onDisk;
  ByteSink sink;
  std::unique_ptr<PictureWriter> writer;
  std::vector<std::uint8_t> row;  // the first bytes of a row that is incomplete
  std::size_t rowBytes = 0;
};

PageOutput::PageOutput(const ScanPlan& plan, const Cancellation& cancellation)
    : plan_(plan), cancellation_(cancellation) {
  if (plan.toStandardOutput) standardOutput_ = takeStandardOutput();
}

PageOutput::~PageOutput() {
  if (standardOutput_ >= 0) ::close(standardOutput_);
}

std::string PageOutput::pathOf(std::uint32_t page) const {
  return plan_.filePerPage ? numberedName(plan_.output, plan_.firstPage + page - 1)
                           : expandedName(plan_.output, plan_.firstPage);
}

std::string PageOutput::name() const {
  return plan_.toStandardOutput ? "standard output" : path_;
}

void PageOutput::check(std::uint32_t page) const {
  if (!plan_.toStandardOutput && (plan_.filePerPage || page == 1)) OutputFile::check(pathOf(page));
}

void PageOutput::open(std::uint32_t page) {
  path_ = pathOf(page);
  pagesInFile_ = 0;
  file_ = std::make_unique<File>(plan_, path_, standardOutput_, cancellation_);
}

void PageOutput::beginPage(std::uint32_t page, const PictureLayout& layout) {
  if (!file_) open(page);
  inPage_ = true;
  file_->rowBytes = layout.rowBytes();
  file_->row.clear();
  file_->row.reserve(layout.rowBytes());
  file_->writer->beginPage(layout);
  throwIfFailed();
}

void PageOutput::write(const std::uint8_t* bytes, std::size_t count) {
  std::vector<std::uint8_t>& row = file_->row;
  while (count > 0) {
    const std::size_t taken = std::min(count, file_->rowBytes - row.size());
    const bool complete = taken == file_->rowBytes;  // the usual case: no copy
    if (complete) file_->writer->writeRow(bytes);
    if (!complete) row.insert(row.end(), bytes, bytes + taken);
    if (row.size() == file_->rowBytes) {
      file_->writer->writeRow(row.data());
      row.clear();
    }
    bytes += taken;
    count -= taken;
  }
  throwIfFailed();
}

void PageOutput::endPage() {
  file_->writer->endPage();
  throwIfFailed();
  inPage_ = false;
  ++pagesInFile_;
  if (plan_.filePerPage) close();
}

void PageOutput::abandonPage() {
  if (!inPage_) return;
  inPage_ = false;
  if (pagesInFile_ > 0 && holdsPages(plan_.format)) return file_->writer->abandonPage();
  file_.reset();
}

void PageOutput::finish() {
  if (file_) close();
}

void PageOutput::close() {
  file_->writer->finish();
  throwIfFailed();
  if (file_->onDisk) file_->onDisk->commit();
  file_.reset();
}

void PageOutput::throwIfFailed() const {
  ByteSink& sink = file_->sink;
  if (sink.good()) return;
  if (sink.cancelled()) throw CommandError(ExitCode::cancelled, outcome::cancelled().sentence);
  const std::string why = name() + ": cannot write the picture: " + sink.failure() + ".";
  throw OutputError(
      plan_.toStandardOutput ? why : why + " Free some space or choose another folder, then scan again.");
}

}  // namespace frontend
