#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ByteSink.h"
#include "ExistingDocument.h"
#include "OutputError.h"
#include "OutputFile.h"
#include "PictureLayout.h"
#include "PictureWriter.h"
#include "ScanPlan.h"

namespace frontend {

// What became of a file.
struct SavedFile {
  std::string path = {};     // where the pages are: usually the name asked for
  std::uint32_t pages = 0;   // in it; with 0 there is no file
  std::string problem = {};  // sentences: why pages are missing or are elsewhere; empty if all is well
  bool noMemory = false;     // the problem, or one more, is that memory ran out
  bool elsewhere = false;    // the path is not the name asked for
};

// One file of pictures, or standard output, while it is being written. Cuts the bytes of a page into rows.
// Pages that are complete are never lost for what happens later: save() writes as many of them as the disk
// takes. One that is destroyed before save() leaves no trace. Blocks like the file system. One thread.
class PictureFile {
 public:
  // Creates the file at the path, or writes to the descriptor of standard output, unless it is -1. Pages
  // follow those of `existing`, unless it is null. Borrows everything but the path. Throws OutputError, and
  // CommandError once a cancel is requested.
  PictureFile(const ScanPlan& plan, std::string path, int standardOutput, const Cancellation& cancellation,
              const ExistingDocument* existing);

  // Begins a page, which replaces the last one as soon as it is complete if `again`. These three throw
  // OutputError for what cannot be written, CommandError once a cancel is requested, and std::bad_alloc, also
  // where a library below reported that as its own error.
  void beginPage(const PictureLayout& layout, bool again);
  // The next bytes of the page, in pieces of any size.
  void write(const std::uint8_t* bytes, std::size_t count);
  // After the last byte of the page. Only a cancel that insists stops it: the page was scanned whole.
  void endPage();

  // The number of complete pages, and whether another one was begun.
  std::uint32_t pages() const { return pages_; }
  bool inPage() const { return inPage_; }

  // Drops a page that is not complete, completes the file and gives it its name. A cancel that insists leaves
  // nothing. Needs no memory itself, and reports in the result where an encoder does: never throws. At most
  // once.
  SavedFile save(ExistingFile existing) noexcept;

 private:
  void abandonPage();
  // A PDF, whose pages are in memory until then.
  bool isWrittenAtOnce() const { return onDisk_ && format_ == PictureFormat::pdf; }
  bool complete();
  bool completeAgain();
  int finishHere() noexcept;
  void finishApart();
  void shrink();
  void takeName(ExistingFile existing);
  void note(const OutputError& problem) noexcept;
  std::string failure() const;
  void throwIfFailed() const;

  SavedFile saved_;  // what save() will return; its path is the file's until then
  const ExistingDocument* existing_;
  PictureFormat format_;
  std::unique_ptr<OutputFile> onDisk_;
  ByteSink sink_;
  std::unique_ptr<PictureWriter> writer_;
  std::vector<std::uint8_t> row_;  // the first bytes of a row that is incomplete
  std::size_t rowBytes_ = 0;
  std::uint32_t pages_ = 0;
  bool inPage_ = false;
  bool again_ = false;
};

}  // namespace frontend
