#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Cancellation.h"
#include "PictureLayout.h"
#include "ScanPlan.h"

namespace frontend {

// Where the pages of one command go: one file for all, a file for each, or standard output. A file appears
// under its name only when it is whole. Failures are CommandErrors: output where something cannot be written,
// cancelled once a cancel was requested; nothing is left of a file that was not finished.
class PageOutput {
 public:
  // Nothing is opened yet. The cancellation outlives the object.
  PageOutput(const ScanPlan& plan, const Cancellation& cancellation);
  ~PageOutput();
  PageOutput(const PageOutput&) = delete;
  PageOutput& operator=(const PageOutput&) = delete;

  // Finds out whether the page, counted from 1, could be written. Leaves no trace.
  void check(std::uint32_t page) const;

  void beginPage(std::uint32_t page, const PictureLayout& layout);
  // Bytes of its rows, cut anywhere.
  void write(const std::uint8_t* bytes, std::size_t count);
  // All of its rows are written.
  void endPage();
  // The page that was begun, if one was, does not become whole. What then is finished are the pages before
  // it, if there are any in the same file.
  void abandonPage();
  // After the last page, if there was one.
  void finish();

  // How many pages of the latest file are whole.
  std::uint32_t pagesInFile() const { return pagesInFile_; }
  // The name of the latest file for people.
  std::string name() const;

 private:
  struct File;
  std::string pathOf(std::uint32_t page) const;
  void open(std::uint32_t page);
  void close();
  void complainUnlessGood() const;

  const ScanPlan& plan_;
  const Cancellation& cancellation_;
  int standardOutput_ = -1;  // a descriptor of our own
  std::string path_;
  std::unique_ptr<File> file_;
  std::uint32_t pagesInFile_ = 0;
  bool inPage_ = false;
};

}  // namespace frontend
