#include "ByteSink.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

namespace frontend {
namespace {

constexpr std::size_t largestPiece = 1 << 20;  // a cancel is noticed between pieces
constexpr int longestWaitMs = 200;             // and between waits

}  // namespace

bool ByteSink::good() const noexcept {
  return error_ == 0 && reason_[0] == '\0' && !cancelled();
}

bool ByteSink::write(const void* bytes, std::size_t count) noexcept {
  const char* next = static_cast<const char*>(bytes);
  while (count > 0 && good()) {
    const ssize_t moved = ::write(descriptor_, next, std::min(count, largestPiece));
    if (moved < 0) {
      if (errno == EAGAIN) {
        awaitRoom();
      } else if (errno != EINTR) {
        error_ = errno;
      }
      continue;
    }
    next += moved;
    count -= static_cast<std::size_t>(moved);
  }
  return good();
}

// Of a descriptor that does not block, as others may have left a standard output that they share. A signal
// ends the wait, unless it arrives just before it.
void ByteSink::awaitRoom() const noexcept {
  pollfd awaited{descriptor_, POLLOUT, 0};
  poll(&awaited, 1, longestWaitMs);
}

bool ByteSink::seek(std::uint64_t position) noexcept {
  if (good() && lseek(descriptor_, static_cast<off_t>(position), SEEK_SET) < 0) error_ = errno;
  return good();
}

std::size_t ByteSink::read(void* bytes, std::size_t count) noexcept {
  ssize_t moved = 0;
  do {
    moved = ::read(descriptor_, bytes, count);
  } while (moved < 0 && errno == EINTR);
  if (moved < 0) fail(errno);
  return moved < 0 ? 0 : static_cast<std::size_t>(moved);
}

bool ByteSink::truncate(std::uint64_t size) noexcept {
  if (good() && ftruncate(descriptor_, static_cast<off_t>(size)) != 0) error_ = errno;
  return good();
}

bool ByteSink::sync() noexcept {
  while (good() && fsync(descriptor_) != 0) {
    if (errno == EINVAL) break;  // it cannot sync
    if (errno != EINTR) error_ = errno;
  }
  return good();
}

void ByteSink::recover() noexcept {
  error_ = 0;
  reason_[0] = '\0';
}

std::uint64_t ByteSink::position() const noexcept {
  const off_t position = lseek(descriptor_, 0, SEEK_CUR);
  return position < 0 ? 0 : static_cast<std::uint64_t>(position);
}

std::uint64_t ByteSink::size() const noexcept {
  struct stat status {};
  return fstat(descriptor_, &status) != 0 ? 0 : static_cast<std::uint64_t>(status.st_size);
}

void ByteSink::fail(const char* reason) noexcept {
  if (!good()) return;
  if (errno == ENOMEM) error_ = ENOMEM;
  std::snprintf(reason_, sizeof reason_, "%s", reason);
}

void ByteSink::fail(int error) noexcept {
  if (good()) error_ = error;
}

std::string ByteSink::failure() const {
  return reason_[0] == '\0' && error_ != 0 ? std::generic_category().message(error_) : reason_;
}

}  // namespace frontend
