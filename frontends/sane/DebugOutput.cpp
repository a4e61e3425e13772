#include "DebugOutput.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace frontend {

int DebugOutput::levelOfEnvironment() {
  const char* text = secure_getenv("SANE_DEBUG_QUENVAR");
  int level = 0;
  if (text != nullptr) std::from_chars(text, text + std::strlen(text), level);
  return level;
}

void DebugOutput::line(Level level, std::string_view text) const {
  if (!shows(level)) return;
  const std::string whole = "[quenvar] " + std::string(text) + "\n";
  std::fwrite(whole.data(), 1, whole.size(), stderr);
}

}  // namespace frontend
