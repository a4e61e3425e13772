#pragma once

#include <cstdint>

// Counts what the calling thread asks of the system through the C library: ioctl, poll, read, write and
// timerfd_settime, which is everything that libusb uses once a device is open, but for the locks that nobody
// else holds. Each thread counts for itself. What the emulation of usbfs does in place of an ioctl does not
// count: a real one is one call.
std::uint64_t systemCalls();
