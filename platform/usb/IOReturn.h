#pragma once

#include <cstdint>

namespace platform {

// The status of a USB operation: the 32-bit values of the platform that the driver was designed for. They
// pass unchanged through the driver to its host, so their values are part of its interface.
using IOReturn = std::int32_t;

namespace detail {
constexpr IOReturn status(std::uint32_t bits) {
  return static_cast<IOReturn>(bits);
}
}  // namespace detail

inline constexpr IOReturn kIOReturnSuccess = 0;
inline constexpr IOReturn kIOReturnError = detail::status(0xE00002BC);
inline constexpr IOReturn kIOReturnNoMemory = detail::status(0xE00002BD);
inline constexpr IOReturn kIOReturnNoResources = detail::status(0xE00002BE);
inline constexpr IOReturn kIOReturnNoDevice = detail::status(0xE00002C0);
inline constexpr IOReturn kIOReturnNotPrivileged = detail::status(0xE00002C1);
inline constexpr IOReturn kIOReturnBadArgument = detail::status(0xE00002C2);
inline constexpr IOReturn kIOReturnExclusiveAccess = detail::status(0xE00002C5);
inline constexpr IOReturn kIOReturnUnsupported = detail::status(0xE00002C7);
inline constexpr IOReturn kIOReturnInternalError = detail::status(0xE00002C9);
inline constexpr IOReturn kIOReturnIOError = detail::status(0xE00002CA);
inline constexpr IOReturn kIOReturnNotOpen = detail::status(0xE00002CD);
inline constexpr IOReturn kIOReturnBusy = detail::status(0xE00002D5);
inline constexpr IOReturn kIOReturnTimeout = detail::status(0xE00002D6);
inline constexpr IOReturn kIOReturnNotPermitted = detail::status(0xE00002E2);
inline constexpr IOReturn kIOReturnUnderrun = detail::status(0xE00002E7);
inline constexpr IOReturn kIOReturnOverrun = detail::status(0xE00002E8);
inline constexpr IOReturn kIOReturnAborted = detail::status(0xE00002EB);
inline constexpr IOReturn kIOReturnNotResponding = detail::status(0xE00002ED);
inline constexpr IOReturn kIOReturnNotFound = detail::status(0xE00002F0);
inline constexpr IOReturn kIOUSBUnknownPipeErr = detail::status(0xE0004061);
inline constexpr IOReturn kIOUSBTransactionTimeout = detail::status(0xE0004051);
inline constexpr IOReturn kIOUSBPipeStalled = detail::status(0xE000404F);

}  // namespace platform
