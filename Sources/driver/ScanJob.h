#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "DriverGlobals.h"
#include "IOReturn.h"
#include "USBScanProtocol.h"

class CScannerDriver;
class ListElem;

// The callbacks of the packet parser; `info` is the driver. They run on the driver's thread inside
// receiveData() and never throw.
//
// Copies the result of a response to glJobName. A message that cannot be read, that is not a response or
// whose result has no text changes nothing.
void _MY_ControlData(void* bytes, int length, void* info);
// Appends to the image of the driver.
void _MY_ImageData(void* bytes, int length, void* info);
// These do nothing: the end of the image is detected by the silence after it, not by its framing.
void _MY_ImageBeginJob(void* info);
void _MY_ImageBeginJobPage(void* info);
void _MY_ImageEndJobPage(void* info);
void _MY_ImageEndJob(void* info);

// One dialogue with the device, from "enterHostUSBSendMode" to "exitHostUSBSendMode": remote calls over the
// out and the reply pipe, and the image over the data pipe into the driver's accumulator. Does not convert
// the image. Used for one run() on the driver's thread.
class ScanJob {
 public:
  // The driver must outlive the job.
  explicit ScanJob(CScannerDriver& driver);
  ~ScanJob();
  ScanJob(const ScanJob&) = delete;
  ScanJob& operator=(const ScanJob&) = delete;

  // Blocks for the whole scan. Returns kIOReturnSuccess once the image is in the accumulator, or
  // kIOReturnNoDevice if the device vanished during the image; every other failure of a transfer is
  // ignored. Throws std::bad_alloc.
  platform::IOReturn run();

 private:
  void announceAndStart();
  platform::IOReturn receiveImage();
  void call(const std::string& object, const char* method, ListElem& parameters);
  void send(const std::string& object, const char* method, ListElem& parameters);
  void takeReply();
  void feed(char* bytes, unsigned long length, bool convert);

  CScannerDriver& driver_;
  int requestId_;        // one for all calls of the job
  void* protocol_;       // the packet parser of both in pipes
  std::string jobName_;  // the name that "create" returned; later replies change only the global
};
