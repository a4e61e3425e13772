#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "ConvertedImage.h"
#include "Data.h"
#include "DeviceIdentity.h"
#include "ScanArea.h"
#include "UsbStack.h"

// The driver of one scanner: finds and opens its USB interface, runs scan jobs over its three bulk pipes,
// stores the scan area and delivers the image. Each handle of ScannerInterface.h is the address of one.
// ScanJob handles the messages of a job, USBScanProtocol the packets and PPM2TIFFWrapper the pictures.
//
// Finds its device through the platform::usbStack() that is set when it is constructed and that must outlive
// it. One thread at a time, and one scan at a time per process. Failures are return values: 1 or 0, or the
// unchanged status of the USB stack. Only create() and GetResolutions() throw, std::bad_alloc.
class CScannerDriver {
 public:
  // A new driver, which the caller deletes (the exported interface never does). Blocks while
  // the device opens.
  static CScannerDriver* create();

  // Opens the device (OpenMyDevice) and allocates the transfer buffers; deviceOpen() reports the result.
  CScannerDriver();
  // Same as abortScan(). The only virtual operation.
  virtual ~CScannerDriver();
  CScannerDriver(const CScannerDriver&) = delete;
  CScannerDriver& operator=(const CScannerDriver&) = delete;

  // Closes the pipes if the device-open flag is set, releases the image and the transfer buffers and clears
  // the flag. Returns 1. The device is not opened again.
  int abortScan();

  // Area in pixels, resolutions in dots per inch; colour mode 2 is grey, anything else colour. Returns 1.
  int setScanParameter(int xResolution, int yResolution, int colorMode, int left, int top, int width,
                       int height);
  // Stores the size in pixels, as unsigned 32-bit numbers, and prints it to standard output. Null pointers
  // are skipped. Returns 1.
  int getScanParameter(unsigned long* width, unsigned long* height) const;

  // Runs one scan job to its end. Returns 0, 1 (the image could not be converted or does not fit into memory)
  // or kIOReturnNoDevice (no device, or it vanished during the image; the device-open flag is then cleared).
  // Blocks for as long as the device is silent before its first image byte.
  int startScan();

  // Copies whole rows to `buffer`: at most *length bytes, and no more than the bytes of the scan area past
  // `offset`. Sets *length to the number of bytes that count as delivered: one row if no row could be copied,
  // although nothing is written then. Never blocks. Returns 0.
  int readImageData(unsigned char* buffer, unsigned long* length, int offset);

  // Appends image bytes to those of the running job. A length of 0 or less still creates the accumulator,
  // which is what ends the wait for the first image byte. The job fails if the bytes do not fit into memory.
  void AddScanData(const char* bytes, int length) noexcept;

  // Returns 0 if an interface is held, or if the search could not begin (no master port, no matching
  // dictionary); else -1. Sets or clears the device-open flag, except without a master port.
  int OpenMyDevice();
  // Tries to open the interface of one service and to choose its pipes; keeps it if that succeeds.
  void DealWithInterface(unsigned int service);
  // Chooses the three pipes of the interface held; closes and releases it if a pipe cannot be examined.
  void DealWithPipes();

  // Transfers on the out, the reply and the data pipe, with time-outs of 15 s without data and 60 s in total;
  // kIOReturnNoDevice if no interface is held. A read takes the capacity in *length and sets it to the number
  // of bytes received, on every status, never more than the capacity.
  platform::IOReturn WritePipeWithBuffer(const char* buffer, unsigned long length);
  platform::IOReturn ReadControlPipeToBuffer(char* buffer, unsigned long* length);
  platform::IOReturn ReadDataPipeToBuffer(char* buffer, unsigned long* length);

  // Clears a halt on the device's and the host's end of a pipe. Returns the status of the first step that
  // fails, or kIOReturnNoDevice if no interface is held.
  platform::IOReturn ClearEndpointStall(unsigned char pipe);
  // Clears the reply, the data and the out pipe, in this order, and ignores failures. Like the next two
  // functions, does nothing if no interface is held.
  void ClearEndpoints();
  void AbortAndResetPipes();
  // Clears the endpoints, then closes and releases the interface.
  void ClosePipes();

  // Restores 600 dpi, 24 bits and the whole page; the bytes per pixel are unchanged. Returns 0.
  int InitializeScanner();
  // Allocates the list of resolutions in dots per inch. Returns 0.
  int GetResolutions();
  // Fixed results: -9900 and 0.
  int GetStatus() const;
  int PushButtonStatus() const;

  // For programs that link the driver statically. References and pointers are valid until the next call that
  // changes what they refer to.
  std::uint8_t outPipe() const { return outPipe_; }
  std::uint8_t replyPipe() const { return replyPipe_; }
  std::uint8_t dataPipe() const { return dataPipe_; }
  std::uint8_t endpointCount() const { return endpointCount_; }
  std::uint32_t controlPacketSize() const { return controlPacketSize_; }
  std::uint32_t dataPacketSize() const { return dataPacketSize_; }
  bool hasTransferBuffers() const;
  const platform::Data* imageAccumulator() const { return imageAccumulator_.get(); }
  std::uint16_t vendorId() const { return vendorId_; }
  std::uint16_t productId() const { return productId_; }
  std::string_view modelName() const { return modelName_.data(); }
  const platform::UsbInterface* interface() const { return interface_; }
  // Null until GetResolutions() is called.
  const std::vector<std::int16_t>* resolutions() const { return resolutions_; }
  const ScanArea& scanArea() const { return scanArea_; }
  const ConvertedImage& convertedImage() const { return convertedImage_; }
  // Bytes of the scan area, as computed when the last job began or ended, modulo 2^32.
  std::uint32_t imageByteCount() const { return imageByteCount_; }
  bool deviceOpen() const { return deviceOpen_ != 0; }

 private:
  friend class ScanJob;

  struct TransferBuffers {
    std::unique_ptr<unsigned char[]> first;
    std::unique_ptr<unsigned char[]> second;
    std::unique_ptr<unsigned char[]> large;
  };
  // Where the next readImageData() continues.
  struct ReadingState {
    std::uint64_t cursor = 0;    // offset in the pixels
    std::uint32_t rowsLeft = 0;  // converted rows not yet delivered
  };

  bool allocateTransferBuffers();
  void closeAndForgetInterface();
  platform::IOReturn readPipe(std::uint8_t pipe, char* buffer, unsigned long* length);
  std::uint32_t scanAreaBytes() const;
  int convertImage();
  void releaseImage();
  void copyRow(unsigned char* destination, std::uint32_t length) const;

  std::uint8_t outPipe_ = 0;  // pipe references of the interface, not endpoint addresses; 0 is none
  std::uint8_t replyPipe_ = 0;
  std::uint8_t dataPipe_ = 0;
  std::uint8_t endpointCount_ = 0;
  std::uint32_t controlPacketSize_ = 0;  // of the reply or the out pipe, whichever has the higher reference
  std::uint32_t dataPacketSize_ = 0;
  TransferBuffers transferBuffers_;
  platform::DataRef imageAccumulator_;  // none between jobs
  std::uint16_t vendorId_ = platform::deviceVendorId;
  std::uint16_t productId_ = platform::deviceProductId;
  std::array<char, 13> modelName_{"Quenvar Q750"};
  platform::UsbInterface* interface_ = nullptr;
  std::vector<std::int16_t>* resolutions_ = nullptr;
  [[maybe_unused]] std::uint16_t areaWidth_ = 5100;  // a second copy of the default area, which no scan reads
  [[maybe_unused]] std::uint16_t areaHeight_ = 7014;
  std::unique_ptr<unsigned char[]> spareBuffer_;  // released at disable; nothing fills it
  ScanArea scanArea_;
  ConvertedImage convertedImage_;
  ReadingState reading_;
  std::uint32_t imageByteCount_ = 0;
  bool imageDataLost_ = false;  // image bytes of the running job did not fit into memory
  [[maybe_unused]] std::uint32_t secondXResolution_ = 600;  // not read by the scan path
  [[maybe_unused]] std::uint32_t secondYResolution_ = 600;
  std::uint8_t deviceOpen_ = 0;
};
