#include "HurriedUsbStack.h"

using namespace platform;

class HurriedUsbStack::Interface final : public UsbInterface {
 public:
  Interface(HurriedUsbStack& stack, UsbInterface* inner) : stack_(stack), inner_(inner) {}
  Interface(const Interface&) = delete;
  Interface& operator=(const Interface&) = delete;
  virtual ~Interface() { release(); }

  IOReturn open() override { return inner_->open(); }
  IOReturn close() override { return inner_->close(); }
  void release() override {
    if (inner_ != nullptr) inner_->release();
    inner_ = nullptr;
  }
  IOReturn getNumEndpoints(std::uint8_t* count) override { return inner_->getNumEndpoints(count); }
  IOReturn setAlternateInterface(std::uint8_t setting) override {
    return inner_->setAlternateInterface(setting);
  }
  IOReturn getPipeProperties(std::uint8_t pipe, PipeProperties* properties) override {
    return inner_->getPipeProperties(pipe, properties);
  }
  IOReturn abortPipe(std::uint8_t pipe) override { return inner_->abortPipe(pipe); }
  IOReturn resetPipe(std::uint8_t pipe) override { return inner_->resetPipe(pipe); }
  IOReturn clearPipeStallBothEnds(std::uint8_t pipe) override { return inner_->clearPipeStallBothEnds(pipe); }
  IOReturn controlRequest(std::uint8_t pipe, const ControlRequest& request) override {
    return inner_->controlRequest(pipe, request);
  }
  IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size, std::uint32_t noDataTimeoutMs,
                      std::uint32_t completionTimeoutMs) override {
    return inner_->readPipeTO(pipe, buffer, size, stack_.hurried(noDataTimeoutMs),
                              stack_.hurried(completionTimeoutMs));
  }
  IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                       std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) override {
    return inner_->writePipeTO(pipe, buffer, size, stack_.hurried(noDataTimeoutMs),
                               stack_.hurried(completionTimeoutMs));
  }

 private:
  HurriedUsbStack& stack_;
  UsbInterface* inner_;
};

class HurriedUsbStack::PlugIn final : public PlugInInterface {
 public:
  PlugIn(HurriedUsbStack& stack, PlugInInterface* inner) : stack_(stack), inner_(inner) {}
  PlugIn(const PlugIn&) = delete;
  PlugIn& operator=(const PlugIn&) = delete;
  virtual ~PlugIn() { release(); }

  IOReturn queryInterface(UsbInterface** interface) override {
    UsbInterface* inner = nullptr;
    const IOReturn status = inner_->queryInterface(&inner);
    if (status != kIOReturnSuccess) return status;
    stack_.interfaces_.push_back(std::make_shared<Interface>(stack_, inner));
    *interface = stack_.interfaces_.back().get();
    return status;
  }
  IOReturn queryInterface(UsbDevice** device) override { return inner_->queryInterface(device); }
  void release() override {
    if (inner_ != nullptr) inner_->release();
    inner_ = nullptr;
  }

 private:
  HurriedUsbStack& stack_;
  PlugInInterface* inner_;
};

IOReturn HurriedUsbStack::createPlugInInterfaceForService(IOObject service, ServiceKind kind,
                                                          PlugInInterface** plugIn) {
  PlugInInterface* inner = nullptr;
  const IOReturn status = stack_.createPlugInInterfaceForService(service, kind, &inner);
  if (status != kIOReturnSuccess) return status;
  plugIns_.push_back(std::make_shared<PlugIn>(*this, inner));
  *plugIn = plugIns_.back().get();
  return status;
}
