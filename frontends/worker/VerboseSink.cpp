#include "VerboseSink.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

namespace frontend {
namespace {

constexpr char prefix[] = "log: ";
constexpr char cutMark[] = "...";

}  // namespace

VerboseSink::VerboseSink(std::size_t columns, Output output)
    : columns_(std::max<std::size_t>(columns, 20)), output_(std::move(output)) {}

// A line for which there is no memory is dropped: the library may log when memory is short.
void VerboseSink::line(const platform::LogLine& line) try {
  std::string text = prefix;
  line.read([&](std::string_view piece) {
    text += piece.substr(0, columns_ + 1 - std::min(columns_ + 1, text.size()));
    return text.size() <= columns_;
  });
  while (text.back() == '\n') text.pop_back();
  if (text.size() > columns_) {
    text.resize(columns_ - (sizeof cutMark - 1));
    text += cutMark;
  }
  std::replace_if(
      text.begin(), text.end(), [](char character) { return character < ' ' || character > '~'; }, '?');
  output_(text + "\n");
} catch (const std::bad_alloc&) {
}

}  // namespace frontend
