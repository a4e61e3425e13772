#include "PageJournal.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace frontend {

void PageJournal::beginPage() {
  marks_.push_back({sink_.size(), {}});
}

std::string PageJournal::bytesAt(std::uint64_t position, std::size_t count) {
  std::string bytes(count, '\0');
  sink_.seek(position);
  std::size_t got = 0;
  while (got < count) {
    const std::size_t moved = sink_.read(bytes.data() + got, count - got);
    if (moved == 0) sink_.fail("the file cannot be read back");
    if (moved == 0) break;
    got += moved;
  }
  return bytes;
}

// Called through a C library, which no exception may cross.
bool PageJournal::remember(std::uint64_t position, std::size_t count) noexcept {
  try {
    marks_.back().before.push_back({position, bytesAt(position, count)});
  } catch (const std::exception&) {
    sink_.fail("out of memory");
  }
  return sink_.seek(position);
}

bool PageJournal::write(const void* bytes, std::size_t count) noexcept {
  const std::uint64_t position = sink_.position();
  const std::uint64_t begin = marks_.empty() ? 0 : marks_.back().begin;
  const std::uint64_t before = position < begin ? std::min<std::uint64_t>(count, begin - position) : 0;
  if (before > 0 && !remember(position, static_cast<std::size_t>(before))) return false;
  return sink_.write(bytes, count);
}

void PageJournal::write(const Patch& patch) noexcept {
  if (sink_.seek(patch.position)) write(patch.bytes.data(), patch.bytes.size());
}

void PageJournal::undoPage() noexcept {
  const Mark mark = std::move(marks_.back());
  marks_.pop_back();
  // In reverse: a place that was overwritten twice gets its first content back. Not through write(), which
  // would count these bytes among those of the page before.
  for (auto patch = mark.before.rbegin(); patch != mark.before.rend(); ++patch) {
    if (sink_.seek(patch->position)) sink_.write(patch->bytes.data(), patch->bytes.size());
  }
  if (sink_.truncate(mark.begin)) sink_.seek(mark.begin);
}

PageJournal::Page PageJournal::takePage() {
  const Mark& mark = marks_.back();
  Page page{bytesAt(mark.begin, static_cast<std::size_t>(sink_.size() - mark.begin)), {}};
  for (const Patch& patch : mark.before)
    page.overwritten.push_back({patch.position, bytesAt(patch.position, patch.bytes.size())});
  if (sink_.good()) undoPage();
  return page;
}

void PageJournal::putBack(const Page& page) noexcept {
  const std::uint64_t begin = sink_.size();
  beginPage();
  if (!sink_.seek(begin) || !write(page.bytes.data(), page.bytes.size())) return;
  // The links last: until they are written the file is one of the earlier pages.
  for (const Patch& patch : page.overwritten) write(patch);
}

}  // namespace frontend
