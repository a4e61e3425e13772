#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Cancellation.h"
#include "PictureLayout.h"
#include "ScanPlan.h"

namespace frontend {

// Writes the pages of one command to one file, to a file each, or to standard output. Decides nothing: the
// plan does. Files appear under their names only when they are complete; an incomplete one leaves no trace.
// Blocks like the file system. Throws OutputError for what cannot be written, and CommandError once a cancel
// is requested. One thread.
class PageOutput {
 public:
  // Opens nothing but standard output. Borrows both, which must outlive the object. Throws UsageError if
  // pictures would go to a terminal.
  PageOutput(const ScanPlan& plan, const Cancellation& cancellation);
  ~PageOutput();
  PageOutput(const PageOutput&) = delete;
  PageOutput& operator=(const PageOutput&) = delete;

  // Throws if the page, counted from 1, could not be written. Leaves no trace.
  void check(std::uint32_t page) const;

  void beginPage(std::uint32_t page, const PictureLayout& layout);
  // The next bytes of the page, in pieces of any size.
  void write(const std::uint8_t* bytes, std::size_t count);
  // After the last byte of the page.
  void endPage();
  // Drops the current page, if there is one: finish() then completes the file with the pages before it, if
  // it has any.
  void abandonPage();
  // Completes the last file. Harmless if there is none.
  void finish();

  // The number of complete pages in the latest file.
  std::uint32_t pagesInFile() const { return pagesInFile_; }
  // The name of the latest file, or "standard output".
  std::string name() const;

 private:
  struct File;
  std::string pathOf(std::uint32_t page) const;
  void open(std::uint32_t page);
  void close();
  void throwIfFailed() const;

  const ScanPlan& plan_;
  const Cancellation& cancellation_;
  int standardOutput_ = -1;  // a duplicate that we own
  std::string path_;
  std::unique_ptr<File> file_;
  std::uint32_t pagesInFile_ = 0;
  bool inPage_ = false;
};

}  // namespace frontend
