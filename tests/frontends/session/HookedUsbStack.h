#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "UsbStack.h"

// A stack over another one that calls a function with the number (from 1) of each transfer, before it is
// done:
//
//   HookedUsbStack stack(virtualStack, [&](int transfer) { if (transfer == 5) cancel.request(); });
//
// and, where one is set, another function with what came of it:
//
//   stack.afterTransfer = [&](const HookedUsbStack::Done& done) { bytes.append(done.bytes, done.moved); };
//
// Everything passes unchanged. Objects that it handed out end with it.
class HookedUsbStack final : public platform::UsbStack {
 public:
  HookedUsbStack(platform::UsbStack& inner, std::function<void(int)> hook)
      : inner_(inner), hook_(std::move(hook)) {}

  struct Done {
    std::uint8_t pipe;
    bool isRead;
    const char* bytes;
    std::uint32_t moved;
    platform::IOReturn status;
  };
  std::function<void(const Done&)> afterTransfer;

  int transfers() const { return transfers_; }

  platform::IOReturn masterPort(platform::MachPort* port) override { return inner_.masterPort(port); }
  void portDeallocate(platform::MachPort port) override { inner_.portDeallocate(port); }
  std::optional<platform::MatchingDictionary> serviceMatching(platform::ServiceKind kind) override {
    return inner_.serviceMatching(kind);
  }
  platform::IOReturn matchingServices(platform::MachPort port, const platform::MatchingDictionary& matching,
                                      platform::IOObject* iterator) override {
    return inner_.matchingServices(port, matching, iterator);
  }
  platform::IOObject iteratorNext(platform::IOObject iterator) override {
    return inner_.iteratorNext(iterator);
  }
  void objectRelease(platform::IOObject object) override { inner_.objectRelease(object); }
  platform::IOReturn createPlugInInterfaceForService(platform::IOObject service,
                                                     platform::ServiceKind userClientType,
                                                     platform::PlugInInterface** plugIn) override {
    const platform::IOReturn status = inner_.createPlugInInterfaceForService(service, userClientType, plugIn);
    if (status == platform::kIOReturnSuccess && *plugIn != nullptr)
      *plugIn = keep(new PlugIn(*this, **plugIn));
    return status;
  }

 private:
  class Interface final : public platform::UsbInterface {
   public:
    Interface(HookedUsbStack& stack, platform::UsbInterface& inner) : stack_(stack), inner_(inner) {}
    platform::IOReturn open() override { return inner_.open(); }
    platform::IOReturn close() override { return inner_.close(); }
    void release() override { inner_.release(); }
    platform::IOReturn getNumEndpoints(std::uint8_t* count) override { return inner_.getNumEndpoints(count); }
    platform::IOReturn setAlternateInterface(std::uint8_t setting) override {
      return inner_.setAlternateInterface(setting);
    }
    platform::IOReturn getPipeProperties(std::uint8_t pipe, platform::PipeProperties* properties) override {
      return inner_.getPipeProperties(pipe, properties);
    }
    platform::IOReturn abortPipe(std::uint8_t pipe) override { return inner_.abortPipe(pipe); }
    platform::IOReturn resetPipe(std::uint8_t pipe) override { return inner_.resetPipe(pipe); }
    platform::IOReturn clearPipeStallBothEnds(std::uint8_t pipe) override {
      return inner_.clearPipeStallBothEnds(pipe);
    }
    platform::IOReturn controlRequest(std::uint8_t pipe, const platform::ControlRequest& request) override {
      return inner_.controlRequest(pipe, request);
    }
    platform::IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                                  std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) override {
      stack_.hook_(++stack_.transfers_);
      const platform::IOReturn status =
          inner_.readPipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
      if (stack_.afterTransfer)
        stack_.afterTransfer({pipe, true, static_cast<const char*>(buffer), *size, status});
      return status;
    }
    platform::IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                                   std::uint32_t noDataTimeoutMs,
                                   std::uint32_t completionTimeoutMs) override {
      stack_.hook_(++stack_.transfers_);
      const platform::IOReturn status =
          inner_.writePipeTO(pipe, buffer, size, noDataTimeoutMs, completionTimeoutMs);
      if (stack_.afterTransfer)
        stack_.afterTransfer({pipe, false, static_cast<const char*>(buffer), size, status});
      return status;
    }

   private:
    HookedUsbStack& stack_;
    platform::UsbInterface& inner_;
  };

  class PlugIn final : public platform::PlugInInterface {
   public:
    PlugIn(HookedUsbStack& stack, platform::PlugInInterface& inner) : stack_(stack), inner_(inner) {}
    platform::IOReturn queryInterface(platform::UsbInterface** interface) override {
      const platform::IOReturn status = inner_.queryInterface(interface);
      if (status == platform::kIOReturnSuccess) *interface = stack_.keep(new Interface(stack_, **interface));
      return status;
    }
    platform::IOReturn queryInterface(platform::UsbDevice** device) override {
      return inner_.queryInterface(device);
    }
    void release() override { inner_.release(); }

   private:
    HookedUsbStack& stack_;
    platform::PlugInInterface& inner_;
  };

  template <typename Object>
  Object* keep(Object* object) {
    kept_.push_back(std::shared_ptr<Object>(object));
    return object;
  }

  platform::UsbStack& inner_;
  std::function<void(int)> hook_;
  int transfers_ = 0;
  std::vector<std::shared_ptr<void>> kept_;
};
