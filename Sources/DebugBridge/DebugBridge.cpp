#include "DebugBridge.h"

#include <array>
#include <cstdarg>
#include <cstdio>

#include "Log.h"

void BridgeNSLog(const char* format, ...) {
  std::array<char, 2040> line;
  va_list arguments;
  va_start(arguments, format);
  if (std::vsnprintf(line.data(), line.size(), format, arguments) < 0) line.front() = '\0';
  va_end(arguments);
  platform::logFormat("%s", line.data());
}
