#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "VirtualUsbStack.h"

namespace virtualscanner {

// The step from a service to its object. Owned by the stack, as VirtualUsbInterface.
class VirtualPlugIn final : public platform::PlugInInterface {
 public:
  VirtualPlugIn(VirtualUsbStack& stack, platform::ServiceKind kind, std::uint32_t connection)
      : stack_(stack), kind_(kind), connection_(connection) {}
  VirtualPlugIn(const VirtualPlugIn&) = delete;
  VirtualPlugIn& operator=(const VirtualPlugIn&) = delete;
  virtual ~VirtualPlugIn() = default;

  platform::IOReturn queryInterface(platform::UsbInterface** interface) noexcept override;
  platform::IOReturn queryInterface(platform::UsbDevice** device) noexcept override;
  void release() noexcept override;

 private:
  template <typename Object, typename Interface>
  platform::IOReturn create(std::map<const void*, std::unique_ptr<Object>>& kept,
                            Interface** result) noexcept;

  VirtualUsbStack& stack_;
  platform::ServiceKind kind_;
  std::uint32_t connection_;
};

}  // namespace virtualscanner
