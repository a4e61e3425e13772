#include "PageAnswer.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace frontend {
namespace {

// Returns whether there is input. A cancel takes precedence over input that has arrived as well.
bool awaitInput(int input, int cancelled) {
  for (;;) {
    pollfd awaited[] = {{cancelled, POLLIN, 0}, {input, POLLIN, 0}};
    const int ready = poll(awaited, 2, -1);
    if (ready < 0 && errno == EINTR) continue;
    return awaited[0].revents == 0;
  }
}

}  // namespace

PageAnswer readPageAnswer(int input, int cancelled) {
  char first = '\0';
  for (;;) {
    if (!awaitInput(input, cancelled)) return PageAnswer::cancel;
    // Byte by byte: what follows the line belongs to the next prompt, or to another program.
    char character = '\0';
    const ssize_t count = read(input, &character, 1);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) return PageAnswer::finish;
    if (character == '\n') break;
    if (first == '\0') first = character;
  }
  if (first == 'q' || first == 'Q') return PageAnswer::finish;
  return first == 'r' || first == 'R' ? PageAnswer::scanAgain : PageAnswer::scan;
}

}  // namespace frontend
