#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "OutputError.h"

namespace frontend::console {
namespace {

constexpr std::size_t defaultColumns = 80;

}  // namespace

bool isTerminal() {
  const char* kind = std::getenv("TERM");
  const bool canRedraw = kind != nullptr && std::string_view(kind) != "dumb" && kind[0] != '\0';
  return canRedraw && isatty(STDERR_FILENO) == 1;
}

std::size_t columns() {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : defaultColumns;
}

void writeErrors(std::string_view text) {
  while (!text.empty()) {
    const ssize_t moved = ::write(STDERR_FILENO, text.data(), text.size());
    if (moved < 0)
      return;  // also for EINTR: the cancel that interrupts a blocked write matters more than the text
    text.remove_prefix(static_cast<std::size_t>(moved));
  }
}

void log(const std::string& message) {
  writeErrors("q750: " + message + "\n");
}

void print(const std::string& text) {
  const bool written =
      std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  if (!written) throw OutputError("Cannot write to standard output.");
}

}  // namespace frontend::console
