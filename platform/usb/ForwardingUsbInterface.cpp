#include "ForwardingUsbInterface.h"

#include "ForwardingUsbStack.h"

namespace platform {

ForwardingUsbInterface::~ForwardingUsbInterface() {
  if (ownsInner_) inner_.release();
}

void ForwardingUsbInterface::release() noexcept {
  stack_.forget(*this);  // which deletes it
}

}  // namespace platform
