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
// keeps the scan area and hands out the image. One of them stands behind each handle of ScannerInterface.h.
// What a job says and how its packets and pictures are read lies elsewhere (ScanJob, USBScanProtocol,
// PPM2TIFFWrapper).
//
// Takes its device from the platform::usbStack() of the moment of its construction, which must outlive it.
// One thread at a time, and one scan at a time per process. Failures are results: 1 or 0, or the status of
// the USB stack unchanged. An allocation that fails comes out of create() and GetResolutions() alone.
class CScannerDriver {
 public:
  // A new driver, which the caller deletes (the exported interface never does).
  static CScannerDriver* create();

  // Opens the device (OpenMyDevice) and allocates the transfer buffers. Whether that worked is deviceOpen().
  CScannerDriver();
  // As abortScan().
  virtual ~CScannerDriver();
  CScannerDriver(const CScannerDriver&) = delete;
  CScannerDriver& operator=(const CScannerDriver&) = delete;

  // Closes the pipes if the device-open flag is set, releases the image and the transfer buffers and clears
  // the flag. Returns 1. The device is not opened again.
  int abortScan();

  // Area in pixels, resolutions in dots per inch; colour mode 2 is grey, anything else colour. Returns 1.
  int setScanParameter(int xResolution, int yResolution, int colourMode, int left, int top, int width,
                       int height);
  // Hands out the size in pixels, as unsigned 32-bit numbers, and prints it to standard output. Null pointers
  // are skipped. Returns 1.
  int getScanParameter(unsigned long* width, unsigned long* height) const;

  // Runs one scan job to its end. Returns 0, 1 (the image could not be converted or kept in memory) or
  // kIOReturnNoDevice (no device, or it vanished while the image came; the device-open flag is then cleared).
  // Blocks for as long as the device is silent before its first image byte.
  int startScan();

  // Copies whole rows to `buffer`, at most *length bytes and no more than remain after `offset` of the bytes
  // that the scan area makes; *length is then what counts as delivered. Where no row could be copied, one
  // row's worth counts as delivered and nothing is written. Returns 0.
  int readImageData(unsigned char* buffer, unsigned long* length, int offset);

  // Appends image bytes to those of the running job; no bytes (or a negative number) still make the
  // accumulator. Bytes that find no memory make the job fail.
  void AddScanData(const char* bytes, int length) noexcept;

  // 0 where an interface is held, or where the search could not even begin (no master port, no matching
  // dictionary); else -1. Sets or clears the device-open flag, except where there was no master port.
  int OpenMyDevice();
  // Tries to open the interface of one service and to choose its pipes; holds it if that worked.
  void DealWithInterface(unsigned int service);
  // Chooses the three pipes of the interface held; gives the interface up where a pipe cannot be examined.
  void DealWithPipes();

  // Transfers on the out, the reply and the data pipe: at most 15 s without data and 60 s in all;
  // kIOReturnNoDevice where no interface is held. A read takes the capacity in *length and leaves there how
  // many bytes came, on every status, never more than the capacity.
  platform::IOReturn WritePipeWithBuffer(const char* buffer, unsigned long length);
  platform::IOReturn ReadControlPipeToBuffer(char* buffer, unsigned long* length);
  platform::IOReturn ReadDataPipeToBuffer(char* buffer, unsigned long* length);

  // Clears a halt on the device's and the host's end of a pipe; the first failing step's status, or
  // kIOReturnNoDevice where no interface is held.
  platform::IOReturn ClearEndpointStall(unsigned char pipe);
  // Clears reply, data and out pipe, whatever comes of it. Nothing where no interface is held; so the next
  // two.
  void ClearEndpoints();
  void AbortAndResetPipes();
  // Clears the endpoints, then closes and releases the interface.
  void ClosePipes();

  // Back to 600 dpi, 24 bits and the whole page; the bytes per pixel stay. Returns 0.
  int InitializeScanner();
  // Makes the list of resolutions in dots per inch. Returns 0.
  int GetResolutions();
  // Fixed answers: -9900 and 0.
  int GetStatus() const;
  int PushButtonStatus() const;

  // For those who link the driver statically. References and pointers are valid until the next call that
  // changes what they show.
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
  // Null before GetResolutions().
  const std::vector<std::int16_t>* resolutions() const { return resolutions_; }
  const ScanArea& scanArea() const { return scanArea_; }
  const ConvertedImage& convertedImage() const { return convertedImage_; }
  // Bytes that the scan area made when the last job began or ended, modulo 2^32.
  std::uint32_t imageByteCount() const { return imageByteCount_; }
  bool deviceOpen() const { return deviceOpen_ != 0; }

 private:
  friend class ScanJob;

  struct TransferBuffers {
    std::unique_ptr<unsigned char[]> first;
    std::unique_ptr<unsigned char[]> second;
    std::unique_ptr<unsigned char[]> large;
  };
  // Where the next readImageData() goes on.
  struct ReadingState {
    std::uint64_t cursor = 0;    // offset in the pixels
    std::uint32_t rowsLeft = 0;  // converted rows not yet handed out
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
  std::uint32_t controlPacketSize_ = 0;  // of the reply or the out pipe, whichever was seen last
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
  bool imageDataLost_ = false;                              // image bytes of the running job found no memory
  [[maybe_unused]] std::uint32_t secondXResolution_ = 600;  // not read by the scan path
  [[maybe_unused]] std::uint32_t secondYResolution_ = 600;
  std::uint8_t deviceOpen_ = 0;
};
