#include <algorithm>
#include <limits>
#include <string>

#include "BitmapExport.h"
#include "NumericConversion.h"

namespace {

using platform::Array;
using platform::Dictionary;
using platform::Value;

bool isNumber(const Value* value) {
  return value != nullptr && (value->wholeNumber() != nullptr || value->fraction() != nullptr);
}

std::int32_t int32Of(const Value& number) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (const std::int64_t* whole = number.wholeNumber())
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(*whole, Limits::min(), Limits::max()));
  return saturatedToInt32(*number.fraction());
}

float floatOf(const Value& number) {
  if (const std::int64_t* whole = number.wholeNumber()) return static_cast<float>(*whole);
  return saturatedToFloat(*number.fraction());
}

const Value* currentOf(const Dictionary& enumeration) {
  const Value* current = enumeration.find("current");
  const Value* value = enumeration.find("value");
  if (!isNumber(current) || value == nullptr || value->array() == nullptr) return nullptr;
  const Array& choices = *value->array();
  // Out of range is possible: the dictionary is the host's.
  const std::int32_t index = int32Of(*current);
  if (index < 0 || static_cast<std::size_t>(index) >= choices.size()) return nullptr;
  return &choices[static_cast<std::size_t>(index)];
}

// The number that the type of the dictionary selects, or null.
const Value* numberIn(const Dictionary* dictionary) {
  if (dictionary == nullptr) return nullptr;
  const Value* type = dictionary->find("type");
  if (type == nullptr || type->text() == nullptr) return nullptr;
  const Value* number = nullptr;
  if (*type->text() == "TWON_ENUMERATION") {
    number = currentOf(*dictionary);
  } else if (*type->text() == "TWON_ONEVALUE") {
    number = dictionary->find("value");
  }
  return isNumber(number) ? number : nullptr;
}

}  // namespace

std::int32_t GetIntFromDict(const CapabilityDictionary* dictionary, std::int32_t* number) {
  const Value* found = numberIn(dictionary);
  if (found == nullptr || number == nullptr) return -1;
  *number = int32Of(*found);
  return 0;
}

std::int32_t GetFloatFromDict(const CapabilityDictionary* dictionary, float* number) {
  const Value* found = numberIn(dictionary);
  if (found == nullptr || number == nullptr) return -1;
  *number = floatOf(*found);
  return 0;
}
