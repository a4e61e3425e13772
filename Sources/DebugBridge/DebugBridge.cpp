#include "DebugBridge.h"

#include <array>
#include <cstdarg>
#include <cstdio>

#include "Log.h"

void BridgeNSLog(const char* format, ...) {
  // A fixed buffer, whose size hosts know from where their lines end.
  std::array<char, 2040> line;
  va_list arguments;
  va_start(arguments, format);
  if (std::vsnprintf(line.data(), line.size(), format, arguments) < 0) line.front() = '\0';
  va_end(arguments);
  // As an argument: the text may hold percent signs.
  platform::logFormat("%s", line.data());
}
