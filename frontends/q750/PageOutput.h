#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "BatchEnd.h"
#include "Cancellation.h"
#include "ExistingDocument.h"
#include "PictureFile.h"
#include "PictureLayout.h"
#include "ScanPlan.h"

namespace frontend {

// Writes the pages of one command to one file, to a file each, or to standard output. Decides nothing: the
// plan does. Files appear under their names only when they are complete. Blocks like the file system. Throws
// OutputError for what cannot be written, and CommandError once a cancel is requested; save() then saves the
// pages that are complete. One thread.
class PageOutput {
 public:
  // Opens nothing but standard output and a document that pages are appended to, of which a TIFF is copied
  // now: that may take long. Borrows both, which must outlive the object. Throws UsageError if pictures would
  // go to a terminal.
  PageOutput(const ScanPlan& plan, const Cancellation& cancellation);
  ~PageOutput();
  PageOutput(const PageOutput&) = delete;
  PageOutput& operator=(const PageOutput&) = delete;

  // Throws if the page, counted from 1, could not be written. Leaves no trace. Returns the name of the file
  // that it would replace, or nothing.
  std::string check(std::uint32_t page) const;
  // Whether the last page can still be replaced by another.
  bool canScanAgain() const { return !plan_.toStandardOutput || holdsPages(plan_.format); }

  // Begins the page; one that was complete before is replaced when the new one is.
  void beginPage(std::uint32_t page, const PictureLayout& layout);
  // The next bytes of the page, in pieces of any size.
  void write(const std::uint8_t* bytes, std::size_t count);
  // After the last byte of the page. In a file of its own, the page is saved now.
  void endPage();

  // What was saved so far.
  const SavedPages& saved() const { return saved_; }
  // Completes the last file with the pages that are complete. Returns what was saved, and why it is not all.
  // Throws nothing.
  const SavedPages& save();

 private:
  std::string pathOf(std::uint32_t page) const;
  std::unique_ptr<PictureFile> newFile(std::uint32_t page) const;
  ExistingFile existingFile() const;
  void close(ExistingFile existing);

  const ScanPlan& plan_;
  const Cancellation& cancellation_;
  int standardOutput_ = -1;                     // a duplicate that we own
  std::unique_ptr<ExistingDocument> existing_;  // that pages are appended to, or null
  std::unique_ptr<PictureFile> file_;
  std::uint32_t page_ = 0;  // the latest one that was begun
  bool again_ = false;      // it was complete before
  SavedPages saved_;
};

}  // namespace frontend
