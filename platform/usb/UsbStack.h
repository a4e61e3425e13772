#pragma once

#include <cstdint>
#include <optional>

#include "IOReturn.h"
#include "UsbDeviceFramework.h"

// The operations of a USB stack that the driver needs, under the names that they have on the platform that it
// was designed for (IOServiceGetMatchingServices is matchingServices(), ReadPipeTO is readPipeTO()).
// Implemented by the real stack, by the virtual scanner, by stacks that forward to another one, and by the
// scripted fake of the tests. Independent of scanners.
//
// Failure: every function that can fail returns an IOReturn, kIOReturnSuccess being 0; its out-parameters are
// unchanged on failure unless stated otherwise. Nothing throws: an allocation that fails is
// kIOReturnNoMemory, or the empty result of a function that returns no status.
//
// Threads: a stack and all its objects are used by one thread at a time, whichever that is. The one exception
// is UsbInterface::abortPipe(), and only on stacks whose header allows it.
//
// Blocking: a function waits for the device only where stated.
namespace platform {

using MachPort = std::uint32_t;  // 0: none
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

// One request on a control pipe. `data` holds `length` bytes, or is null if length is 0; the caller owns it.
struct ControlRequest : usb::SetupPacket {
  void* data;
};

// One USB interface of a device. Obtained from PlugInInterface::queryInterface(); its user owns it, calls
// release() once and does not touch it afterwards. Pipe references are 1 to the number of endpoints, in the
// order of the endpoint descriptors of the current alternate setting; pipe 0 is the default control pipe.
//
// On an interface that is not open, everything but open() and release() returns kIOReturnNotOpen; on an open
// one whose device was unplugged, kIOReturnNoDevice, also after the device was plugged in again.
class UsbInterface {
 public:
  // Claims the interface for this object and selects alternate setting 0. kIOReturnExclusiveAccess if another
  // object or process holds the interface, or this object does already; kIOReturnNotPermitted if the process
  // may not use the device.
  virtual IOReturn open() noexcept = 0;
  // Releases the claim, on every status but kIOReturnNotOpen. The object stays valid until release(). No
  // transfer may be under way. May wait for the device, as setAlternateInterface() does.
  virtual IOReturn close() noexcept = 0;
  // Destroys this object; closes it first if it is open.
  virtual void release() noexcept = 0;

  // The number of endpoints of the current alternate setting, which may be 0.
  virtual IOReturn getNumEndpoints(std::uint8_t* count) noexcept = 0;
  // Selects another alternate setting: pipe references are counted anew. kIOReturnNotFound for a setting that
  // the interface does not have. Waits for the device, seconds at most.
  virtual IOReturn setAlternateInterface(std::uint8_t alternateSetting) noexcept = 0;
  // kIOUSBUnknownPipeErr for a reference that the current setting does not have, as for all functions below;
  // for transfers also if the pipe has the other direction.
  virtual IOReturn getPipeProperties(std::uint8_t pipe, PipeProperties* properties) noexcept = 0;

  // Ends the transfer under way on the pipe with kIOReturnAborted, and returns without waiting for that end;
  // does nothing if there is none. Any thread may call it while another one is inside readPipeTO() or
  // writePipeTO(), provided that the stack allows it and that the object is neither closed nor released
  // before abortPipe() has returned.
  virtual IOReturn abortPipe(std::uint8_t pipe) noexcept = 0;
  // Clears the host's side of a halt (data toggle and stall state). The device's side stays as it is.
  virtual IOReturn resetPipe(std::uint8_t pipe) noexcept = 0;
  // As resetPipe(), and makes the device clear its side too. Waits for the device, seconds at most.
  virtual IOReturn clearPipeStallBothEnds(std::uint8_t pipe) noexcept = 0;
  // Performs a request on a control pipe, whose data are transferred in the direction that the request's type
  // gives. kIOUSBPipeStalled if the device does not support it. Waits for the device, seconds at most.
  virtual IOReturn controlRequest(std::uint8_t pipe, const ControlRequest& request) noexcept = 0;

  // Reads up to *size bytes into buffer and blocks until the buffer is full, a short or zero-length packet
  // ends the transfer, or it fails. The no-data time-out counts from the last byte that moved, the completion
  // time-out from the start; both in milliseconds, 0 for no limit. *size is the number of bytes that moved,
  // on every status. A read that moved bytes before the time-out succeeds with these bytes; one that moved
  // none is kIOUSBTransactionTimeout. A halted pipe is kIOUSBPipeStalled, an unplugged device
  // kIOReturnNoDevice, an aborted transfer kIOReturnAborted.
  virtual IOReturn readPipeTO(std::uint8_t pipe, void* buffer, std::uint32_t* size,
                              std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) noexcept = 0;
  // Writes size bytes and blocks until the device took them all or the transfer failed; statuses and
  // time-outs as for readPipeTO(). How much moved before a failure is not reported.
  virtual IOReturn writePipeTO(std::uint8_t pipe, const void* buffer, std::uint32_t size,
                               std::uint32_t noDataTimeoutMs, std::uint32_t completionTimeoutMs) noexcept = 0;

 protected:
  ~UsbInterface() = default;
};

// One USB device, for reading its identity, which needs no opening. Ownership as for UsbInterface. Once the
// device is unplugged, reading its identity returns kIOReturnNoDevice, also after it was plugged in again.
// Nothing waits for the device.
class UsbDevice {
 public:
  // kIOReturnExclusiveAccess if this object is open already, or if the stack admits one user only and has
  // one; kIOReturnNotPermitted as for UsbInterface::open().
  virtual IOReturn open() noexcept = 0;
  // Releases the device, on every status but kIOReturnNotOpen.
  virtual IOReturn close() noexcept = 0;
  // Destroys this object; closes it first if it is open.
  virtual void release() noexcept = 0;

  virtual IOReturn getDeviceVendor(std::uint16_t* vendor) noexcept = 0;
  virtual IOReturn getDeviceProduct(std::uint16_t* product) noexcept = 0;
  // Derived from the port that the device is plugged into: the same after a replug.
  virtual IOReturn getLocationID(std::uint32_t* location) noexcept = 0;

 protected:
  ~UsbDevice() = default;
};

// The step between a service and its object. Its user owns it and calls release() once; the objects that it
// handed out remain valid.
class PlugInInterface {
 public:
  // Hands out a new object, which the caller owns. kIOReturnUnsupported on a plug-in of the other kind. May
  // succeed with a null object; callers check both.
  virtual IOReturn queryInterface(UsbInterface** interface) noexcept = 0;
  virtual IOReturn queryInterface(UsbDevice** device) noexcept = 0;
  // Destroys this object.
  virtual void release() noexcept = 0;

 protected:
  ~PlugInInterface() = default;
};

// The registry of services. The creator of the stack owns it and keeps it alive as long as any object of it.
// Nothing here waits for a device.
class UsbStack {
 public:
  virtual ~UsbStack() = default;

  // IOMasterPort: the right to query the registry. The caller releases the port with portDeallocate().
  virtual IOReturn masterPort(MachPort* port) noexcept = 0;
  // mach_port_deallocate.
  virtual void portDeallocate(MachPort port) noexcept = 0;
  // IOServiceMatching. Nothing if no dictionary could be created.
  virtual std::optional<MatchingDictionary> serviceMatching(ServiceKind kind) noexcept = 0;
  // IOServiceGetMatchingServices: an iterator over the services of this moment, in a stable order. The caller
  // releases it with objectRelease(). kIOReturnBadArgument for a port that masterPort() did not hand out.
  virtual IOReturn matchingServices(MachPort port, const MatchingDictionary& matching,
                                    IOObject* iterator) noexcept = 0;
  // IOIteratorNext: the next service, which the caller releases with objectRelease(), or 0: at the end, for
  // what is not an iterator, and for lack of memory.
  virtual IOObject iteratorNext(IOObject iterator) noexcept = 0;
  // IOObjectRelease, for iterators and services.
  virtual void objectRelease(IOObject object) noexcept = 0;
  // IOCreatePlugInInterfaceForService. kIOReturnBadArgument for what is not a service, kIOReturnUnsupported
  // for a service of the other kind. May succeed with a null plug-in; callers check both.
  virtual IOReturn createPlugInInterfaceForService(IOObject service, ServiceKind userClientType,
                                                   PlugInInterface** plugIn) noexcept = 0;
};

// The stack that drivers created from now on use. Never null: until someone calls useUsbStack() it is the
// default one. A process-wide setting: LibraryEnvironment changes it for the scan worker, and tests do. The
// stack given stays the caller's and must outlive every driver that uses it. Null restores the default. One
// thread at a time, drivers included.
UsbStack& usbStack();
void useUsbStack(UsbStack* stack) noexcept;

// Returns the default stack, the same one at every call and for the life of the process. The plug-in library
// sets it when it is loaded. Null restores the default of this folder: a registry without services.
using DefaultUsbStack = UsbStack& (*)();
void useDefaultUsbStack(DefaultUsbStack stack) noexcept;

}  // namespace platform
