#include "StandardOutput.h"

#include <cstdio>

#include "OutputError.h"

namespace frontend {

void show(const std::string& text) {
  const bool written =
      std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (!written) throw OutputError("Standard output cannot be written to.");
}

}  // namespace frontend
