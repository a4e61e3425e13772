#pragma once

#include <cstddef>
#include <cstdint>

/// What the library needs from its platform, as far as it is visible to hosts.
namespace platform {

/// A growable, reference-counted run of bytes: what the packet buffer, the image accumulator and the framed
/// messages are made of. Bytes are only ever appended, never changed or removed, so a shorter length of the
/// same object is always a prefix of what it holds now. One thread at a time, for an object together with all
/// that share its bytes.
///
/// The operations are virtual so that a host can use a buffer that the plug-in library hands it, and derive
/// one of its own: the library exports none of them by name, so the three static ones are not for hosts.
class Data {
 public:
  /// @{
  /// Each makes an object with one reference, which the caller drops with release(). A failed allocation is
  /// std::bad_alloc, here and in append().
  static Data* create();
  static Data* withBytes(const void* bytes, std::size_t count);
  /// @}

  /// The bytes of `whole` from offset on (none if offset is past its end). Shares them with `whole` without
  /// copying, and is independent of it: appending to either does not change the other. Shared bytes stay
  /// allocated until the last object that shares them is destroyed.
  static Data* suffixOf(const Data& whole, std::size_t offset);

  Data(const Data&) = delete;
  Data& operator=(const Data&) = delete;

  /// Adds a reference, to be dropped with release().
  virtual void retain() = 0;
  /// The last release destroys the object.
  virtual void release() = 0;

  /// Valid until the last release() or the next append() or trim(), of this object or of one that shares its
  /// bytes. Not null-terminated; may be null when length() is 0.
  virtual const std::uint8_t* bytes() const = 0;
  /// How many bytes there are.
  virtual std::size_t length() const = 0;
  /// The bytes appended may be the object's own.
  virtual void append(const void* bytes, std::size_t count) = 0;

  /// Releases the room reserved for further appending. Changes no byte and never fails.
  virtual void trim() {}

 protected:
  /// @{
  /// For create() and the like, and for release().
  Data() = default;
  virtual ~Data() = default;
  /// @}

  /// Implements suffixOf(), with offset within the length. Returns a new object with one reference, or null
  /// if the implementation cannot share its bytes: they are copied then.
  virtual Data* suffix(std::size_t /*offset*/) const { return nullptr; }
};

/// Holds one reference to a Data (or none) and drops it when destroyed.
class DataRef {
 public:
  /// Holds none.
  DataRef() = default;
  /// Takes over the caller's reference.
  explicit DataRef(Data* data) : data_(data) {}
  /// @{
  /// Leaves the other one with none; drops the reference held before.
  DataRef(DataRef&& other) noexcept : data_(other.letGo()) {}
  DataRef& operator=(DataRef&& other) noexcept {
    if (this != &other) reset(other.letGo());
    return *this;
  }
  /// @}
  DataRef(const DataRef&) = delete;
  DataRef& operator=(const DataRef&) = delete;
  /// Drops the reference.
  ~DataRef() { reset(); }

  /// @{
  /// The object, whose reference stays here; null, which must not be dereferenced, where none is held.
  Data* get() const { return data_; }
  Data* operator->() const { return data_; }
  Data& operator*() const { return *data_; }
  /// @}
  /// Whether one is held.
  explicit operator bool() const { return data_ != nullptr; }

  /// Transfers the reference to the caller.
  Data* letGo() {
    Data* data = data_;
    data_ = nullptr;
    return data;
  }
  /// Drops the reference held and takes over the caller's reference to `data`, which may be null.
  void reset(Data* data = nullptr) {
    if (data_ != nullptr) data_->release();
    data_ = data;
  }

 private:
  Data* data_ = nullptr;
};

}  // namespace platform
