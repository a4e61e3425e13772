#include "ImagePipe.h"

#include <fcntl.h>
#include <poll.h>

#include <cerrno>

namespace frontend {

ImagePipe::ImagePipe(int descriptor, int wakeUp, const Cancellation& cancel, ThreadActivity& activity)
    : pipe_(descriptor), wakeUp_(wakeUp), cancel_(cancel), activity_(activity) {
  // A write that blocked could not be ended by a cancel.
  fcntl(descriptor, F_SETFL, O_NONBLOCK);
}

bool ImagePipe::write(const std::uint8_t* bytes, std::size_t count) {
  while (count > 0) {
    if (cancel_.requested()) return false;
    const ssize_t written = ::write(pipe_.get(), bytes, count);
    if (written >= 0) {
      bytes += written;
      count -= static_cast<std::size_t>(written);
    } else if (errno == EAGAIN) {
      if (!awaitRoom()) return false;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

// A front end may take any time to read: meanwhile the scanning thread counts as waiting, not as hung.
bool ImagePipe::awaitRoom() {
  activity_.beginWaiting();
  pollfd awaited[] = {{pipe_.get(), POLLOUT, 0}, {wakeUp_, POLLIN, 0}};
  const int ready = poll(awaited, 2, -1);
  activity_.endWaiting();
  return ready > 0 || errno == EINTR;
}

}  // namespace frontend
