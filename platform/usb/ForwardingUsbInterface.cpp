#include "ForwardingUsbInterface.h"

#include "ForwardingUsbStack.h"

namespace platform {

ForwardingUsbInterface::~ForwardingUsbInterface() {
  if (!released_) inner_.release();
}

void ForwardingUsbInterface::release() {
  released_ = true;
  inner_.release();
  stack_.forget(*this);
}

}  // namespace platform
