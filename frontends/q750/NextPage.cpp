#include "NextPage.h"

#include <unistd.h>

#include <cerrno>

#include "CancelSignals.h"

namespace frontend {

NextPage readAnswer(int descriptor, const CancelFlag& flag) {
  char first = '\0';
  for (;;) {
    if (!awaitInput(descriptor, flag)) return NextPage::cancel;
    char character = '\0';
    const ssize_t count = read(descriptor, &character, 1);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (count <= 0) return NextPage::finish;
    if (character == '\n') break;
    if (first == '\0') first = character;
  }
  return first == 'q' || first == 'Q' ? NextPage::finish : NextPage::scan;
}

}  // namespace frontend
