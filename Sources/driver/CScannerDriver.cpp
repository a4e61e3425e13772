#include "CScannerDriver.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>
#include <new>

#include "PPM2TIFFWrapper.h"
#include "ScanJob.h"

namespace {

constexpr std::size_t smallBufferSize = 256;
constexpr std::size_t largeBufferSize = 131072;

constexpr int greyColorMode = 2;
constexpr std::uint32_t greyBitDepth = 8;
constexpr std::uint32_t colorBitDepth = 24;

constexpr std::int16_t resolutionList[] = {75, 150, 200, 300, 400, 600};
constexpr int fixedStatus = -9900;

constexpr int conversionFailed = 1;

}  // namespace

CScannerDriver* CScannerDriver::create() {
  return new CScannerDriver;
}

CScannerDriver::CScannerDriver() {
  deviceOpen_ = OpenMyDevice() == 0 && allocateTransferBuffers() ? 1 : 0;
}

CScannerDriver::~CScannerDriver() {
  abortScan();
}

// No scan uses these buffers: they are part of the cost of enabling a scanner, and a way in which it can
// fail. If one cannot be allocated, the earlier ones stay until the driver is disabled.
bool CScannerDriver::allocateTransferBuffers() {
  transferBuffers_.first.reset(new (std::nothrow) unsigned char[smallBufferSize]);
  if (!transferBuffers_.first) return false;
  transferBuffers_.second.reset(new (std::nothrow) unsigned char[smallBufferSize]);
  if (!transferBuffers_.second) return false;
  transferBuffers_.large.reset(new (std::nothrow) unsigned char[largeBufferSize]);
  return transferBuffers_.large != nullptr;
}

bool CScannerDriver::hasTransferBuffers() const {
  return transferBuffers_.first && transferBuffers_.second && transferBuffers_.large;
}

int CScannerDriver::abortScan() {
  if (deviceOpen()) ClosePipes();
  releaseImage();
  spareBuffer_.reset();
  transferBuffers_.first.reset();
  transferBuffers_.second.reset();
  transferBuffers_.large.reset();
  deviceOpen_ = 0;
  return 1;
}

int CScannerDriver::setScanParameter(int xResolution, int yResolution, int colorMode, int left, int top,
                                     int width, int height) {
  const bool grey = colorMode == greyColorMode;
  scanArea_ = {xResolution,   yResolution, left, top, width, height, grey ? greyBitDepth : colorBitDepth,
               grey ? 0U : 1U};
  convertedImage_.bytesPerPixel = grey ? 1 : 3;
  return 1;
}

int CScannerDriver::getScanParameter(unsigned long* width, unsigned long* height) const {
  if (width != nullptr) *width = static_cast<std::uint32_t>(scanArea_.width);
  if (height != nullptr) *height = static_cast<std::uint32_t>(scanArea_.height);
  // Printed at every call: the line is part of the interface.
  std::printf("CScannerDriver::getScanParameter(%ld, %ld)\n", static_cast<long>(scanArea_.width),
              static_cast<long>(scanArea_.height));
  return 1;
}

int CScannerDriver::InitializeScanner() {
  scanArea_ = ScanArea{};
  return 0;
}

int CScannerDriver::GetResolutions() {
  // An earlier list is replaced without being released, since a caller that has it may still read it; the
  // last one is not released either. Each call leaks one list.
  resolutions_ = new std::vector<std::int16_t>(std::begin(resolutionList), std::end(resolutionList));
  return 0;
}

int CScannerDriver::GetStatus() const {
  return fixedStatus;
}

int CScannerDriver::PushButtonStatus() const {
  return 0;
}

void CScannerDriver::AddScanData(const char* bytes, int length) noexcept {
  try {
    if (!imageAccumulator_) imageAccumulator_.reset(platform::Data::create());
    if (length > 0) imageAccumulator_->append(bytes, static_cast<std::size_t>(length));
  } catch (const std::exception&) {
    imageDataLost_ = true;
  }
}

int CScannerDriver::startScan() {
  // Computed again once the conversion has set the bytes per pixel; a job that fails keeps this value.
  imageByteCount_ = scanAreaBytes();
  imageDataLost_ = false;
  try {
    const platform::IOReturn transferred = ScanJob(*this).run();
    if (transferred == platform::kIOReturnSuccess) return convertImage();
    imageAccumulator_.reset();
    return transferred;
  } catch (...) {
    // No memory for the job, reported to hosts as an image that could not be converted, the closest result.
    imageAccumulator_.reset();
    releaseImage();
    return conversionFailed;
  }
}

int CScannerDriver::convertImage() {
  imageByteCount_ = scanAreaBytes();
  const platform::DataRef image = std::move(imageAccumulator_);
  const int result = ConvertPPMToTIFF(
      image.get(), &convertedImage_.pixels, &convertedImage_.length,
      static_cast<std::uint32_t>(scanArea_.xResolution), static_cast<std::uint32_t>(scanArea_.yResolution),
      &convertedImage_.rowWidthPixels, &convertedImage_.rowCount, &convertedImage_.bytesPerPixel);
  // A failed conversion has set the dimensions, but there are no pixels.
  if (result != 0) releaseImage();
  reading_ = {0, convertedImage_.rowCount};
  return result;
}

// The bytes per pixel are kept: they also belong to the scan area, and determine the row length reported.
void CScannerDriver::releaseImage() {
  std::free(convertedImage_.pixels);
  convertedImage_.pixels = nullptr;
  convertedImage_.length = 0;
  convertedImage_.rowWidthPixels = 0;
  convertedImage_.rowCount = 0;
  reading_ = {};
}

std::uint32_t CScannerDriver::scanAreaBytes() const {
  return static_cast<std::uint32_t>(scanArea_.width) * static_cast<std::uint32_t>(scanArea_.height) *
         convertedImage_.bytesPerPixel;
}

int CScannerDriver::readImageData(unsigned char* buffer, unsigned long* length, int offset) {
  const std::uint32_t rowBytes = convertedImage_.bytesPerPixel * static_cast<std::uint32_t>(scanArea_.width);
  if (rowBytes == 0) {  // Avoids a division by zero: an area without width, or a stream without a picture.
    *length = 0;
    return 0;
  }
  const std::uint32_t stride = convertedImage_.bytesPerPixel * convertedImage_.rowWidthPixels;
  const std::uint32_t copyLength = std::min(stride, rowBytes);
  const std::uint32_t remaining = imageByteCount_ - static_cast<std::uint32_t>(offset);
  const auto requested =
      static_cast<std::uint32_t>(std::min<unsigned long>(*length, std::numeric_limits<std::uint32_t>::max()));
  const std::uint32_t rows = std::min(std::min(requested, remaining) / rowBytes, reading_.rowsLeft);
  for (std::uint32_t row = 0; row < rows; ++row) {
    if (buffer != nullptr) copyRow(buffer + std::size_t{row} * rowBytes, copyLength);
    reading_.cursor += stride;
  }
  reading_.rowsLeft -= rows;
  *length = rows == 0 ? rowBytes : std::min(rows, remaining / rowBytes) * rowBytes;
  return 0;
}

void CScannerDriver::copyRow(unsigned char* destination, std::uint32_t length) const {
  // Rows are read from one copy length past the cursor: hosts depend on this lead. Bytes past the image read
  // as zero.
  const std::uint64_t start = reading_.cursor + length;
  const std::uint64_t present =
      start < convertedImage_.length ? std::min<std::uint64_t>(length, convertedImage_.length - start) : 0;
  if (present > 0)
    std::memcpy(destination, convertedImage_.pixels + start, static_cast<std::size_t>(present));
  std::memset(destination + present, 0, static_cast<std::size_t>(length - present));
}
