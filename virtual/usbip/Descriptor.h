#pragma once

#include <unistd.h>

#include <utility>

namespace virtualscanner {

// Owns a file descriptor, or none, and closes it.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }

  // -1 for none.
  int get() const { return number_; }

 private:
  int number_ = -1;
};

}  // namespace virtualscanner
