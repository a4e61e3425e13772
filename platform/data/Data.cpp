#include "Data.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>

#include "ByteBlock.h"

namespace platform {
namespace {

// Bytes that several Data objects share. They are only appended to; each object records its own part.
class Storage {
 public:
  void retain() { ++references_; }
  void release() {
    if (--references_ == 0) delete this;
  }

  const std::uint8_t* bytes() const { return block_.data(); }
  std::size_t used() const { return used_; }

  void reserve(std::size_t size) { block_.grow(size, used_); }
  void trim() { block_.trim(used_); }

  // The source may lie in this storage, which moves when it grows.
  void append(const void* source, std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() - used_) throw std::bad_alloc();
    const auto* from = static_cast<const std::uint8_t*>(source);
    const bool own = std::less_equal<>()(bytes(), from) && std::less<>()(from, bytes() + used_);
    const std::size_t place = own ? static_cast<std::size_t>(from - bytes()) : 0;
    block_.grow(used_ + count, used_);
    std::memcpy(block_.data() + used_, own ? bytes() + place : from, count);
    used_ += count;
  }

 private:
  std::size_t references_ = 1;
  ByteBlock block_;
  std::size_t used_ = 0;
};

// A part of a storage, from an offset on. One storage serves a whole chain of suffixes: a stream that is
// appended to at one end and taken off in packets at the other keeps every byte that it ever received, since
// objects taken off before may still share them. Starting a new storage now and then would save none of that
// memory, but would copy the bytes still needed.
class SharedData final : public Data {
 public:
  SharedData() = default;
  SharedData(Storage* storage, std::size_t offset, std::size_t length)
      : storage_(storage), offset_(offset), length_(length) {
    if (storage_ != nullptr) storage_->retain();
  }

  void retain() override { ++references_; }
  void release() override {
    if (--references_ == 0) delete this;
  }

  const std::uint8_t* bytes() const override {
    return storage_ == nullptr ? nullptr : storage_->bytes() + offset_;
  }
  std::size_t length() const override { return length_; }

  void append(const void* bytes, std::size_t count) override {
    if (count == 0) return;
    // No object reads past the end of a storage, so the one that ends there may append in place; any other
    // would overwrite what a younger one appended.
    if (storage_ == nullptr || offset_ + length_ != storage_->used()) {
      moveToOwnStorage(bytes, count);
    } else {
      storage_->append(bytes, count);
    }
    length_ += count;
  }

  void trim() override {
    if (storage_ != nullptr) storage_->trim();
  }

 protected:
  Data* suffix(std::size_t offset) const override {
    return new SharedData(storage_, offset_ + offset, length_ - offset);
  }

 private:
  ~SharedData() override {
    if (storage_ != nullptr) storage_->release();
  }

  void moveToOwnStorage(const void* more, std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() - length_) throw std::bad_alloc();
    auto own = std::make_unique<Storage>();
    own->reserve(length_ + count);
    if (length_ > 0) own->append(bytes(), length_);
    own->append(more, count);
    if (storage_ != nullptr) storage_->release();
    storage_ = own.release();
    offset_ = 0;
  }

  std::size_t references_ = 1;
  Storage* storage_ = nullptr;
  std::size_t offset_ = 0;
  std::size_t length_ = 0;
};

}  // namespace

Data* Data::create() {
  return new SharedData();
}

Data* Data::withBytes(const void* bytes, std::size_t count) {
  DataRef data(create());
  data->append(bytes, count);
  return data.letGo();
}

Data* Data::suffixOf(const Data& whole, std::size_t offset) {
  offset = std::min(offset, whole.length());
  Data* const shared = whole.suffix(offset);
  return shared != nullptr ? shared : withBytes(whole.bytes() + offset, whole.length() - offset);
}

}  // namespace platform
