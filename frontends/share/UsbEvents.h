#pragma once

#include <string>
#include <string_view>

#include "OwnedDescriptor.h"

namespace frontend::share {

// Whether a message of the kernel or of udev, which consists of texts that end with a zero byte, is about a
// USB device itself and not about one of its interfaces or about other hardware.
bool concernsUsbDevice(std::string_view message);

// The system's notifications that a USB device was plugged in or unplugged, or that users were given access
// to one. Opens no device and does not poll: a thread that waits for the descriptor sleeps until something
// happens. Does not report which device: messages may be lost, and every process may list devices.
//
// One thread at a time. Never throws.
class UsbEvents {
 public:
  // Listens from now on. If the system refuses that, descriptor() is -1 and problem() the reason.
  UsbEvents();

  // For poll(): readable when a message has arrived, about any hardware.
  int descriptor() const { return socket_.get(); }
  const std::string& problem() const { return problem_; }

  // Takes all messages that have arrived, without blocking. Whether one of them, or one that was lost, may
  // concern a USB device.
  bool take();

 private:
  platform::OwnedDescriptor socket_;
  std::string problem_;
};

}  // namespace frontend::share
