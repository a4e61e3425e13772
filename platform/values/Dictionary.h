#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

class Value;

/// Values in their order. The first has index 0.
using Array = std::vector<Value>;

/// Values under names, each name at most once: what a host uses to describe a capability of a scanner.
///
///     platform::Dictionary capability;
///     capability.set("type", "TWON_ENUMERATION");
///     capability.set("current", 2);
///     capability.set("value", platform::Array{100, 200, 300});
///
/// An ordinary value: a copy is a dictionary of its own. Implemented in this header alone, since the library
/// exports none of it by name. One thread at a time; a failed allocation is `std::bad_alloc`.
class Dictionary {
 public:
  /// An empty dictionary.
  Dictionary();
  /// A copy of every value.
  Dictionary(const Dictionary& other);
  /// Takes the values over; what is left in `other` may only be assigned to or destroyed.
  Dictionary(Dictionary&& other) noexcept;
  /// Copies as the constructor does.
  Dictionary& operator=(const Dictionary& other);
  /// Moves as the constructor does.
  Dictionary& operator=(Dictionary&& other) noexcept;
  /// Destroys the values too.
  ~Dictionary();

  /// Puts a value under a name, in place of any that is there.
  void set(std::string name, Value value);

  /// The value under a name, or null. Valid until the next set() and as long as the dictionary.
  const Value* find(std::string_view name) const;

 private:
  struct Entry;
  std::vector<Entry> entries_;
};

/// A text, a number, an array or a dictionary. Never empty; an ordinary value, with the same
/// properties as Dictionary.
class Value {
 public:
  /// A text, up to its null byte. A null pointer is an empty text.
  Value(const char* text) : content_(std::string(text == nullptr ? "" : text)) {}
  /// A text.
  Value(std::string text) : content_(std::move(text)) {}

  /// A whole number. Unsigned numbers of 64 bits have to be converted by the caller.
  Value(int number) : content_(std::int64_t{number}) {}
  /// A whole number.
  Value(long number) : content_(std::int64_t{number}) {}
  /// A whole number.
  Value(long long number) : content_(std::int64_t{number}) {}
  /// A whole number.
  Value(unsigned number) : content_(std::int64_t{number}) {}

  /// A number with a fraction; infinities and NaN included. A float is kept exactly too.
  Value(double number) : content_(number) {}

  /// An array.
  Value(Array elements) : content_(std::move(elements)) {}
  /// A dictionary.
  Value(Dictionary entries) : content_(std::move(entries)) {}

  /// A truth value is not a number.
  Value(bool) = delete;

  /// The text, or null for a value of another kind. Valid as long as the value does not change.
  const std::string* text() const { return std::get_if<std::string>(&content_); }
  /// The whole number, or null, as text().
  const std::int64_t* wholeNumber() const { return std::get_if<std::int64_t>(&content_); }
  /// The number with a fraction, or null, as text(). Null for a whole number.
  const double* fraction() const { return std::get_if<double>(&content_); }
  /// The array, or null, as text().
  const Array* array() const { return std::get_if<Array>(&content_); }
  /// The dictionary, or null, as text().
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&content_); }

 private:
  std::variant<std::string, std::int64_t, double, Array, Dictionary> content_;
};

/// A value and its name.
struct Dictionary::Entry {
  /// Unique in a dictionary.
  std::string name;
  /// The value under it.
  Value value;
};

// Here, where Entry is complete.
inline Dictionary::Dictionary() = default;
inline Dictionary::Dictionary(const Dictionary& other) = default;
inline Dictionary::Dictionary(Dictionary&& other) noexcept = default;
inline Dictionary& Dictionary::operator=(const Dictionary& other) = default;
inline Dictionary& Dictionary::operator=(Dictionary&& other) noexcept = default;
inline Dictionary::~Dictionary() = default;

inline void Dictionary::set(std::string name, Value value) {
  for (Entry& entry : entries_) {
    if (entry.name == name) {
      entry.value = std::move(value);
      return;
    }
  }
  entries_.push_back({std::move(name), std::move(value)});
}

inline const Value* Dictionary::find(std::string_view name) const {
  for (const Entry& entry : entries_) {
    if (entry.name == name) return &entry.value;
  }
  return nullptr;
}

}  // namespace platform
