#pragma once

#include <cstdint>
#include <optional>

#include "IOReturn.h"
#include "UsbDeviceFramework.h"

// The operations of a USB stack that the driver needs, under the names that they have on the platform that it
// was designed for (IOServiceGetMatchingServices is matchingServices(), ReadPipeTO is readPipeTO()).
// Implemented by the real stack, by the virtual scanner and by the scripted fake of the tests. Knows nothing
// of scanners.
//
// One thread at a time. Nothing throws. Every operation that can fail answers an IOReturn, kIOReturnSuccess
// being 0; unless an operation says otherwise, its out-parameters are unchanged on failure.
namespace platform {

using MachPort = std::uint32_t;  // 0 is no port
using IOObject = std::uint32_t;  // an iterator or a service; 0 is none

enum class ServiceKind { usbInterface, usbDevice };

// What IOServiceMatching makes: a query for all services of one kind.
struct MatchingDictionary {
  ServiceKind kind;
};

enum class PipeDirection : std::uint8_t { out = 0, in = 1 };
using usb::TransferType;

struct PipeProperties {
  PipeDirection direction;
  std::uint8_t endpointNumber;  // 0 to 15, without the direction bit
  TransferType transferType;
  std::uint16_t maxPacketSize;  // bytes
  std::uint8_t interval;        // as the endpoint descriptor gives it (USB 2.0, 9.6.6)
};

// One request on a control pipe. `data` holds `length` bytes, or is null where length is 0; the caller owns
// it.
struct ControlRequest : usb::SetupPacket {
  void* data;
};

// One USB interface of a device. Obtained from PlugInInterface::queryInterface; the owner calls release()
// once and does not touch the object afterwards. Pipe references are 1 to the number of endpoints, in the
// order of the endpoint descriptors of the current alternate setting; pipe 0 is the default control pipe.
class UsbInterface {
 public:
  // Claims the interface for this object, with alternate setting 0: kIOReturnExclusiveAccess where another
  // one or another process holds it, or this one does already, kIOReturnNotPermitted where the process may
  // not use the device. All that follows is kIOReturnNotOpen on an interface that is not open, and
  // kIOReturnNoDevice on one of a device that is gone, also after it was plugged in again.
  virtual IOReturn open() = 0;
  // Gives the claim back, on every status but kIOReturnNotOpen. The object stays valid until release().
  virtual IOReturn close() = 0;
  // Closes it first where it is open.
  virtual void release() = 0;

  virtual IOReturn getNumEndpoints(std::uint8_t* count) = 0;
  // Pipe references are counted anew afterwards. kIOReturnNotFound for a setting that the interface does not
  // have.
  virtual IOReturn setAlternateInterface(std::uint8_t alternateSetting) = 0;
  // kIOUSBUnknownPipeErr for a reference that the current setting does not have, as for all calls below; for
  // transfers also where the pipe has the other direction.
  virtual IOReturn getPipeProperties(std::uint8_t pipe, PipeProperties* properties) = 0;

  // Ends every transfer in flight on the pipe with kIOReturnAborted.
  virtual IOReturn abortPipe(std::uint8_t pipe) = 0;
  // Clears the host's side of a halt (data toggle and stall state). The device's side stays as it is.
  virtual IOReturn resetPipe(std::uint8_t pipe) = 0;
  // As resetPipe, and tells the device to clear its side too.
  virtual IOReturn clearPipeStallBothEnds(std::uint8_t pipe) = 0;
  virtual IOReturn controlRequest(std::uint8_t pipe, const ControlRequest& request) = 0;

  // Reads up to *size bytes into buffer and blocks until the buffer is full, a short or zero-length packet
  // ends the transfer, or it fails. The no-data time-out counts from the last byte that moved, the completion
  // time-out from the start; both in milliseconds, 0 means for ever. *size is the number of bytes that moved,
  // on every status. A read that moved bytes and then went quiet succeeds with these bytes; one that moved
  // none is kIOUSBTransactionTimeout. A halted pipe is kIOUSBPipeStalled, a vanished device
  // kIOReturnNoDevice.
  virtual IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                              std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) = 0;
  // Writes size bytes and blocks until the device took them all or the transfer failed; statuses and
  // time-outs as for readPipeTO. How much moved before a failure is not told.
  virtual IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                               std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) = 0;

 protected:
  ~UsbInterface() = default;
};

// One USB device, for reading its identity, open or not. Ownership, and what becomes of it when it is gone,
// as for UsbInterface.
class UsbDevice {
 public:
  virtual IOReturn open() = 0;
  virtual IOReturn close() = 0;
  virtual void release() = 0;

  virtual IOReturn getDeviceVendor(std::uint16_t* vendor) = 0;
  virtual IOReturn getDeviceProduct(std::uint16_t* product) = 0;
  // Derived from the port that the device is plugged into: the same after a replug.
  virtual IOReturn getLocationID(std::uint32_t* location) = 0;

 protected:
  ~UsbDevice() = default;
};

// The step between a service and its object. The owner calls release() once.
class PlugInInterface {
 public:
  // Hands out a new object, which the caller owns. A plug-in of the other kind answers kIOReturnUnsupported.
  // May succeed with a null object; callers check both.
  virtual IOReturn queryInterface(UsbInterface** interface) = 0;
  virtual IOReturn queryInterface(UsbDevice** device) = 0;
  virtual void release() = 0;

 protected:
  ~PlugInInterface() = default;
};

// The registry of services. Whoever made the stack owns it and keeps it alive as long as any object of it.
class UsbStack {
 public:
  virtual ~UsbStack() = default;

  // IOMasterPort. The caller gives the port back with portDeallocate().
  virtual IOReturn masterPort(MachPort* port) = 0;
  // mach_port_deallocate.
  virtual void portDeallocate(MachPort port) = 0;
  // IOServiceMatching. Nothing where no dictionary could be made.
  virtual std::optional<MatchingDictionary> serviceMatching(ServiceKind kind) = 0;
  // IOServiceGetMatchingServices: an iterator over the services there are now, in a stable order. The caller
  // releases it with objectRelease().
  virtual IOReturn matchingServices(MachPort port, const MatchingDictionary& matching,
                                    IOObject* iterator) = 0;
  // IOIteratorNext: the next service, which the caller releases with objectRelease(), or 0 at the end.
  virtual IOObject iteratorNext(IOObject iterator) = 0;
  virtual void objectRelease(IOObject object) = 0;
  // IOCreatePlugInInterfaceForService. May succeed with a null plug-in; callers check both.
  virtual IOReturn createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                                   PlugInInterface** plugIn) = 0;
};

// The stack that drivers created from now on use. Never null: until someone calls useUsbStack() it is the
// default one. The process-wide choice belongs to whoever links the library (front end or test); the stack
// given stays the caller's and must outlive every driver that uses it. Null brings the default back.
UsbStack& usbStack();
void useUsbStack(UsbStack* stack);

// What answers the default stack, which is asked for at its first use and lives for ever. Null brings back
// the one that is the default of this folder: it has no service.
using DefaultUsbStack = UsbStack& (*)();
void useDefaultUsbStack(DefaultUsbStack stack);

}  // namespace platform
