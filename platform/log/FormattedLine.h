#pragma once

#include <cstdarg>

#include "Log.h"

namespace platform {

// A line with a format as for vprintf, formatted each time it is read and only as far as it is read: a short
// one on the stack, a longer one through a buffer of a few kilobytes, however long an argument is. Valid as
// long as the arguments are.
class FormattedLine final : public LogLine {
 public:
  FormattedLine(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
  ~FormattedLine();
  FormattedLine(const FormattedLine&) = delete;
  FormattedLine& operator=(const FormattedLine&) = delete;

  // If the text cannot be formatted, the reader receives the format itself.
  void read(const PieceReader& reader) const override;

 private:
  void readPieces(const PieceReader& reader) const;

  const char* format_;
  mutable va_list arguments_;
};

}  // namespace platform
