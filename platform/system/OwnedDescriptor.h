#pragma once

#include <unistd.h>

#include <utility>

namespace platform {

// Owns a file descriptor, or none, and closes it when destroyed. One thread at a time. Never fails.
class OwnedDescriptor {
 public:
  OwnedDescriptor() = default;
  explicit OwnedDescriptor(int number) : number_(number) {}
  OwnedDescriptor(OwnedDescriptor&& other) noexcept : number_(other.release()) {}
  OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      number_ = other.release();
    }
    return *this;
  }
  OwnedDescriptor(const OwnedDescriptor&) = delete;
  OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
  ~OwnedDescriptor() { reset(); }

  // Transfers the descriptor to the caller.
  int release() noexcept { return std::exchange(number_, -1); }
  void reset() noexcept {
    if (number_ >= 0) close(std::exchange(number_, -1));
  }
  // -1 for none.
  int get() const { return number_; }

 private:
  int number_ = -1;
};

}  // namespace platform
