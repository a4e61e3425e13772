#include "PictureFile.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <utility>

#include "CommandError.h"
#include "OutputError.h"

namespace frontend {
namespace {

// The file's name without its folder and extension is the title; what is piped has none.
PictureSettings settingsFor(const ScanPlan& plan, const std::string& path, const ExistingDocument* existing) {
  PictureSettings settings = plan.pictureSettings;
  if (!plan.toStandardOutput) settings.title = std::filesystem::path(path).stem();
  if (existing != nullptr) settings.appendTo = existing->descriptor();
  return settings;
}

}  // namespace

PictureFile::PictureFile(const ScanPlan& plan, std::string path, int standardOutput,
                         const Cancellation& cancellation, const ExistingDocument* existing)
    : path_(std::move(path)),
      existing_(existing),
      format_(plan.format),
      onDisk_(standardOutput < 0 ? std::make_unique<OutputFile>(path_) : nullptr),
      sink_(onDisk_ ? onDisk_->descriptor() : standardOutput, &cancellation),
      writer_(makePictureWriter(plan.format, sink_, settingsFor(plan, path_, existing))) {
  throwIfFailed();
}

void PictureFile::beginPage(const PictureLayout& layout, bool again) {
  sink_.setSaving(false);
  again_ = again && pages_ > 0;
  inPage_ = true;
  rowBytes_ = layout.rowBytes();
  row_.clear();
  row_.reserve(rowBytes_);
  if (again_) writer_->setPageAside();
  throwIfFailed();
  writer_->beginPage(layout);
  throwIfFailed();
}

void PictureFile::write(const std::uint8_t* bytes, std::size_t count) {
  while (count > 0) {
    const std::size_t taken = std::min(count, rowBytes_ - row_.size());
    const bool whole = taken == rowBytes_;  // the usual case: no copy
    if (whole) writer_->writeRow(bytes);
    if (!whole) row_.insert(row_.end(), bytes, bytes + taken);
    if (row_.size() == rowBytes_) {
      writer_->writeRow(row_.data());
      row_.clear();
    }
    bytes += taken;
    count -= taken;
  }
  throwIfFailed();
}

void PictureFile::endPage() {
  sink_.setSaving(true);
  writer_->endPage();
  throwIfFailed();
  inPage_ = false;
  if (!again_) ++pages_;
}

// The pages before are complete in the file or in memory: only a disk that has no room left for the page that
// was set aside can take one away.
void PictureFile::abandonPage() {
  inPage_ = false;
  sink_.recover();
  if (pages_ == 0 || !holdsPages(format_)) return;
  writer_->abandonPage();
}

bool PictureFile::complete() {
  try {
    if (sink_.good()) writer_->finish();
  } catch (const std::bad_alloc&) {
    sink_.fail("there is not enough memory");  // fewer pages take less
  }
  return onDisk_ ? sink_.sync() : sink_.good();
}

void PictureFile::shrink() {
  sink_.recover();
  pages_ = onDisk_ && !sink_.cancelled() ? writer_->shrink() : 0;
}

SavedFile PictureFile::save(ExistingFile existing) {
  SavedFile saved{path_, 0, ""};
  sink_.setSaving(true);
  if (inPage_) abandonPage();
  while (pages_ > 0 && !complete()) {
    if (saved.problem.empty()) saved.problem = failure();
    shrink();
  }
  saved.pages = pages_;
  if (onDisk_ && pages_ > 0) takeName(saved, existing);
  return saved;
}

void PictureFile::takeName(SavedFile& saved, ExistingFile existing) {
  try {
    if (existing_ != nullptr && !existing_->isUnchanged())
      throw OutputError(path_ + ": another program changed the file during the scan.");
    if (existing_ != nullptr) existing_->copyPermissionsTo(onDisk_->descriptor());
    return onDisk_->commit(existing);
  } catch (const OutputError& error) {
    saved.problem = error.what();
  }
  try {
    saved.path = onDisk_->keep();
  } catch (const OutputError&) {
    saved.pages = 0;
  }
}

// Nothing for a cancel, which is reported in any case.
std::string PictureFile::failure() const {
  if (sink_.cancelled()) return "";
  const std::string why =
      (onDisk_ ? path_ : "standard output") + ": cannot write the picture: " + sink_.failure() + ".";
  return onDisk_ ? why + " Free some space or choose another folder, then scan again." : why;
}

void PictureFile::throwIfFailed() const {
  if (sink_.good()) return;
  if (sink_.cancelled()) throw CommandError(ExitCode::cancelled, outcome::cancelled().sentence);
  throw OutputError(failure());
}

}  // namespace frontend
