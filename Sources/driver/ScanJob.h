#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "DriverGlobals.h"
#include "IOReturn.h"
#include "USBScanProtocol.h"

class CScannerDriver;
class ListElem;

// What the packet parser calls; `info` is the driver. Nothing is thrown out of them.
//
// Takes the result of a response over into glJobName. A message that cannot be read, that is no response or
// whose result has no text changes nothing.
void _MY_ControlData(void* bytes, int length, void* info);
// Appends to the image of the driver.
void _MY_ImageData(void* bytes, int length, void* info);
// The framing of jobs and pages has no meaning: these do nothing.
void _MY_ImageBeginJob(void* info);
void _MY_ImageBeginJobPage(void* info);
void _MY_ImageEndJobPage(void* info);
void _MY_ImageEndJob(void* info);

// One dialogue with the device, from "enterHostUSBSendMode" to "exitHostUSBSendMode": remote calls over the
// out and the reply pipe, and the image over the data pipe into the driver's accumulator. Converts nothing.
// Lives for one run() on the driver's thread.
class ScanJob {
 public:
  // The driver must outlive the job.
  explicit ScanJob(CScannerDriver& driver);
  ~ScanJob();
  ScanJob(const ScanJob&) = delete;
  ScanJob& operator=(const ScanJob&) = delete;

  // kIOReturnSuccess, the image then being in the accumulator, or kIOReturnNoDevice where the device vanished
  // while it came; every other failure of a transfer is passed over. Throws std::bad_alloc.
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
  std::string jobName_;  // the device's name for the job; later replies change only the global
};
