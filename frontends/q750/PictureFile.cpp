#include "PictureFile.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <new>
#include <utility>

#include "ApartProcess.h"
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
    : saved_{std::move(path)},
      existing_(existing),
      format_(plan.format),
      onDisk_(standardOutput < 0 ? std::make_unique<OutputFile>(saved_.path) : nullptr),
      sink_(onDisk_ ? onDisk_->descriptor() : standardOutput, &cancellation),
      writer_(makePictureWriter(plan.format, sink_, settingsFor(plan, saved_.path, existing))) {
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

// The end of finishApart(), as an errno or 0.
int PictureFile::finishHere() noexcept {
  try {
    writer_->finish();
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }
  if (sink_.good() || sink_.error() != 0) return sink_.error();
  // With pages of ours nothing else can be wrong, whatever the library takes it for.
  return existing_ == nullptr ? ENOMEM : EIO;
}

// Where an allocation fails, the PDF library may end the process, and the pages with it. So it has one of its
// own to end, which writes to the same file.
void PictureFile::finishApart() {
  const auto error =
      platform::runApart([this] { return finishHere(); }, ENOMEM, [this] { return sink_.cancelled(); });
  if (!error) return writer_->finish();
  if (*error != 0) sink_.fail(*error);
}

bool PictureFile::complete() {
  try {
    if (sink_.good()) isWrittenAtOnce() ? finishApart() : writer_->finish();
    if (onDisk_ ? sink_.sync() : sink_.good()) return true;
    if (saved_.problem.empty()) throwIfFailed();
  } catch (const std::bad_alloc&) {  // fewer pages take less
    saved_.noMemory = true;
  } catch (const OutputError& error) {
    note(error);
  } catch (const CommandError&) {  // the cancel, which is reported in any case
  }
  return false;
}

void PictureFile::shrink() {
  const Shortage shortage = saved_.noMemory ? Shortage::memory : Shortage::disk;
  sink_.recover();
  pages_ = onDisk_ && !sink_.cancelled() ? writer_->shrink(shortage) : 0;
}

// What was missing may have been so for a moment only: then no page has to go.
bool PictureFile::completeAgain() {
  if (!isWrittenAtOnce() || sink_.cancelled()) return false;
  sink_.recover();
  if (!sink_.truncate(0) || !sink_.seek(0) || !complete()) return false;
  saved_.problem.clear();
  saved_.noMemory = false;
  return true;
}

SavedFile PictureFile::save(ExistingFile existing) noexcept {
  sink_.setSaving(true);
  if (inPage_) abandonPage();
  bool whole = pages_ == 0 || complete() || completeAgain();
  for (; pages_ > 0 && !whole; whole = complete()) shrink();
  saved_.pages = pages_;
  if (onDisk_ && pages_ > 0) takeName(existing);
  return std::move(saved_);
}

void PictureFile::note(const OutputError& problem) noexcept {
  try {
    saved_.problem = problem.what();
  } catch (const std::bad_alloc&) {
    saved_.noMemory = true;
  }
}

void PictureFile::takeName(ExistingFile existing) {
  try {
    if (existing_ != nullptr && !existing_->isUnchanged())
      throw OutputError(saved_.path + ": another program changed the file during the scan.");
    if (existing_ != nullptr) existing_->copyPermissionsTo(onDisk_->descriptor());
    return onDisk_->commit(existing);
  } catch (const OutputError& error) {
    note(error);
  } catch (const std::bad_alloc&) {  // for the text of an error
    saved_.noMemory = true;
  }
  try {
    std::string kept = onDisk_->keep();
    saved_.elsewhere = kept != saved_.path;
    saved_.path = std::move(kept);
  } catch (const std::exception&) {
    saved_.pages = 0;
  }
}

std::string PictureFile::failure() const {
  const std::string why =
      (onDisk_ ? saved_.path : "standard output") + ": cannot write the picture: " + sink_.failure() + ".";
  return onDisk_ ? why + " Free some space or choose another folder, then scan again." : why;
}

void PictureFile::throwIfFailed() const {
  if (sink_.good()) return;
  if (sink_.cancelled()) throw CommandError(ExitCode::cancelled, outcome::cancelled().sentence);
  if (sink_.outOfMemory()) throw std::bad_alloc();
  throw OutputError(failure());
}

}  // namespace frontend
