#pragma once

#include <unistd.h>

#include <utility>

namespace frontend {

// Owns a file descriptor, or none, and closes it.
class OwnedDescriptor {
 public:
  OwnedDescriptor() = default;
  explicit OwnedDescriptor(int number) : number_(number) {}
  OwnedDescriptor(OwnedDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  OwnedDescriptor(const OwnedDescriptor&) = delete;
  OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;
  ~OwnedDescriptor() { reset(); }

  // Gives the descriptor away.
  int release() { return std::exchange(number_, -1); }
  void reset() {
    if (number_ >= 0) close(std::exchange(number_, -1));
  }
  // -1 for none.
  int get() const { return number_; }

 private:
  int number_ = -1;
};

}  // namespace frontend
