#include "SystemVersion.h"

namespace platform {
namespace {

constexpr std::int32_t ownVersion = 0x1040;

std::optional<std::int32_t>& answer() {
  static std::optional<std::int32_t> version = ownVersion;
  return version;
}

}  // namespace

std::optional<std::int32_t> systemVersion() {
  return answer();
}

void overrideSystemVersion(std::optional<std::int32_t> version) {
  answer() = version;
}

void restoreSystemVersion() {
  answer() = ownVersion;
}

}  // namespace platform
