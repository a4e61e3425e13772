#include "Console.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace frontend::console {
namespace {

constexpr std::size_t usualColumns = 80;

}  // namespace

void fillGaps() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // The lowest free number is taken: that of the gap.
    if (fcntl(descriptor, F_GETFD) < 0 && open("/dev/null", O_RDONLY) < 0) return;
  }
}

bool isTerminal() {
  const char* kind = std::getenv("TERM");
  const bool canDraw = kind != nullptr && std::string_view(kind) != "dumb" && kind[0] != '\0';
  return canDraw && isatty(STDERR_FILENO) == 1;
}

std::size_t columns() {
  winsize size{};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : usualColumns;
}

void write(std::string_view text) {
  while (!text.empty()) {
    const ssize_t moved = ::write(STDERR_FILENO, text.data(), text.size());
    if (moved < 0) return;  // also where a signal came: what it asks for matters more than this line
    text.remove_prefix(static_cast<std::size_t>(moved));
  }
}

void say(const std::string& message) {
  write("q750: " + message + "\n");
}

}  // namespace frontend::console
