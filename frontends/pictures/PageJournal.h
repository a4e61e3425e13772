#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ByteSink.h"

namespace frontend {

// Undoes the last pages of a file that grows page by page and whose earlier bytes change only where they link
// to a new page. Remembers for each page where it began and what it overwrote; does not know the file format.
// Borrows the sink, which must be a file that can be read, and through which only the journal writes. Errors
// are reported by the sink. Only beginPage() and takePage() throw (std::bad_alloc); neither has changed
// anything then. One thread.
class PageJournal {
 public:
  // Bytes of the file at a position.
  struct Patch {
    std::uint64_t position;
    std::string bytes;
  };
  // A page that was taken out of the file.
  struct Page {
    std::string bytes;               // from its beginning to the end of the file
    std::vector<Patch> overwritten;  // what it had written further ahead
  };

  explicit PageJournal(ByteSink& sink) : sink_(sink) {}

  std::uint32_t pages() const { return static_cast<std::uint32_t>(marks_.size()); }

  // The page that follows begins at the end of the file.
  void beginPage();
  // As that of the sink.
  bool write(const void* bytes, std::size_t count) noexcept;
  // The file is as it was before the last page.
  void undoPage() noexcept;
  // The same; returns the page for putBack(), which adds it again at the same place.
  Page takePage();
  void putBack(const Page& page) noexcept;

 private:
  struct Mark {
    std::uint64_t begin;
    std::vector<Patch> before;  // what was overwritten ahead of it, in order
  };
  bool remember(std::uint64_t position, std::size_t count) noexcept;
  std::string bytesAt(std::uint64_t position, std::size_t count);
  void write(const Patch& patch) noexcept;

  ByteSink& sink_;
  std::vector<Mark> marks_;
};

}  // namespace frontend
