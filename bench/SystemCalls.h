#pragma once

#include <cstdint>

// The system calls that the calling thread has made through the C library so far: ioctl, poll, read, write
// and timerfd_settime, which are all that libusb uses once a device is open, apart from uncontended locks.
// What the emulation of usbfs does in place of an ioctl is not counted: a real one is one call.
std::uint64_t systemCalls();
