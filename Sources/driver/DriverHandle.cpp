#include "DriverHandle.h"

const CScannerDriver& driverBehind(std::intptr_t handle) noexcept {
  return *reinterpret_cast<const CScannerDriver*>(handle);
}

std::intptr_t handleOf(const CScannerDriver& driver) noexcept {
  return reinterpret_cast<std::intptr_t>(&driver);
}
