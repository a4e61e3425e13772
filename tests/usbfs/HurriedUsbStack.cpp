#include "HurriedUsbStack.h"

using namespace platform;

class HurriedUsbStack::Interface final : public ForwardingUsbInterface {
 public:
  Interface(HurriedUsbStack& stack, UsbInterface& inner)
      : ForwardingUsbInterface(stack, inner), stack_(stack) {}

  IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                      std::uint32_t completionTimeoutMs) noexcept override {
    return inner().readPipeTO(pipe, buffer, size, stack_.hurried(noDataTimeoutMs),
                              stack_.hurried(completionTimeoutMs));
  }
  IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) noexcept override {
    return inner().writePipeTO(pipe, buffer, size, stack_.hurried(noDataTimeoutMs),
                               stack_.hurried(completionTimeoutMs));
  }

 private:
  HurriedUsbStack& stack_;
};

std::unique_ptr<ForwardingUsbInterface> HurriedUsbStack::wrap(UsbInterface& interface) {
  return std::make_unique<Interface>(*this, interface);
}
