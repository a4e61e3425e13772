#include "SystemVersion.h"

namespace platform {
namespace {

constexpr std::int32_t ownVersion = 0x1040;

std::optional<std::int32_t>& reported() {
  static std::optional<std::int32_t> version = ownVersion;
  return version;
}

}  // namespace

std::optional<std::int32_t> systemVersion() {
  return reported();
}

void overrideSystemVersion(std::optional<std::int32_t> version) {
  reported() = version;
}

void restoreSystemVersion() {
  reported() = ownVersion;
}

}  // namespace platform
