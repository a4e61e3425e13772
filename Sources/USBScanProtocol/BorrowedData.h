#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#include "Data.h"

// A view of a caller's bytes as a data object, for the duration of one call: it is on the stack, copies and
// owns nothing, counts no references and refuses to grow (std::bad_alloc).
class BorrowedData final : public platform::Data {
 public:
  // A negative count, or null for bytes, is taken as no bytes.
  BorrowedData(const void* bytes, std::int32_t count)
      : bytes_(static_cast<const std::uint8_t*>(bytes)),
        length_(bytes == nullptr || count < 0 ? 0 : static_cast<std::size_t>(count)) {}
  ~BorrowedData() override = default;

  void retain() override {}
  void release() override {}
  const std::uint8_t* bytes() const override { return bytes_; }
  std::size_t length() const override { return length_; }
  void append(const void* /*bytes*/, std::size_t /*count*/) override { throw std::bad_alloc(); }

 private:
  const std::uint8_t* bytes_;
  std::size_t length_;
};
