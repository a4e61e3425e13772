#include "FormattedLine.h"

#include <array>
#include <cstdio>
#include <exception>

namespace platform {
namespace {

// The reader behind a stdio stream. Its exceptions must not pass through the C library, so they are kept here
// until the stream is closed.
struct PieceStream {
  const LogLine::PieceReader& reader;
  bool stopped = false;
  std::exception_ptr thrown = nullptr;
};

ssize_t handOut(void* cookie, const char* text, std::size_t size) {
  auto& stream = *static_cast<PieceStream*>(cookie);
  try {
    stream.stopped = stream.stopped || !stream.reader({text, size});
  } catch (...) {
    stream.stopped = true;
    stream.thrown = std::current_exception();
  }
  return stream.stopped ? 0 : static_cast<ssize_t>(size);
}

}  // namespace

FormattedLine::FormattedLine(const char* format, va_list arguments) : format_(format) {
  va_copy(arguments_, arguments);
}

FormattedLine::~FormattedLine() {
  va_end(arguments_);
}

void FormattedLine::read(const PieceReader& reader) const {
  std::array<char, 1024> text;
  va_list arguments;
  va_copy(arguments, arguments_);
  const int length = std::vsnprintf(text.data(), text.size(), format_, arguments);
  va_end(arguments);
  if (length < 0) {
    reader(format_);
  } else if (static_cast<std::size_t>(length) < text.size()) {
    if (length > 0) reader({text.data(), static_cast<std::size_t>(length)});
  } else {
    readPieces(reader);
  }
}

void FormattedLine::readPieces(const PieceReader& reader) const {
  PieceStream stream{reader};
  FILE* file = fopencookie(&stream, "w", {nullptr, handOut, nullptr, nullptr});
  if (file == nullptr) {
    reader(format_);
    return;
  }
  std::array<char, 4096> buffer;
  std::setvbuf(file, buffer.data(), _IOFBF, buffer.size());
  va_list arguments;
  va_copy(arguments, arguments_);
  std::vfprintf(file, format_, arguments);
  va_end(arguments);
  std::fclose(file);
  if (stream.thrown) std::rethrow_exception(stream.thrown);
}

}  // namespace platform
