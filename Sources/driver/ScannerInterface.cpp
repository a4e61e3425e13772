#include "ScannerInterface.h"

#include <cfloat>

#include "CScannerDriver.h"
#include "DriverHandle.h"
#include "NumericConversion.h"

extern "C" {
uint32_t totalBytesRead = 0;
}

namespace {

constexpr int32_t nullHandle = -1;
constexpr double unitsPerInch = 1200.0;
// More precision in registers would occasionally move an edge by a pixel.
static_assert(FLT_EVAL_METHOD == 0 || FLT_EVAL_METHOD == 1,
              "products of doubles have to be doubles: build with -msse2 -mfpmath=sse");

// Only the functions of this file change the driver behind a handle.
CScannerDriver& driverOf(intptr_t handle) {
  return const_cast<CScannerDriver&>(driverBehind(handle));
}

uint32_t unitsFromInches(double inches) {
  return truncatedToUInt32(inches * unitsPerInch);
}

int32_t pixelsFromUnits(uint32_t units, double pixelsPerUnit) {
  return saturatedToInt32(units * pixelsPerUnit);
}

}  // namespace

// The handle is never 0: a scanner that could not be opened is reported by StartScan, the only function with
// such a result.
intptr_t EnableScanner() {
  CScannerDriver* driver = CScannerDriver::create();
  totalBytesRead = 0;
  return handleOf(*driver);
}

int32_t DisableScanner(intptr_t handle) {
  return handle == 0 ? nullHandle : driverOf(handle).abortScan();
}

// A scan runs inside StartScan on the host's thread, where nothing could stop it.
int32_t AbortScan(intptr_t handle) {
  return handle == 0 ? nullHandle : 0;
}

int32_t SetScanParameter(intptr_t handle, int32_t xResolution, int32_t yResolution, int32_t colorMode,
                         double left, double top, double right, double bottom) {
  return SetScanParameterEx(handle, xResolution, yResolution, colorMode, unitsFromInches(left),
                            unitsFromInches(top), unitsFromInches(right), unitsFromInches(bottom));
}

int32_t SetScanParameterEx(intptr_t handle, int32_t xResolution, int32_t yResolution, int32_t colorMode,
                           uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) {
  // The factor is computed first: coordinate times resolution over 1200 would round differently. The
  // differences wrap as unsigned numbers do, so that a right edge left of the left one saturates below.
  const double xFactor = xResolution / unitsPerInch;
  const double yFactor = yResolution / unitsPerInch;
  return driverOf(handle).setScanParameter(
      xResolution, yResolution, colorMode, pixelsFromUnits(left, xFactor), pixelsFromUnits(top, yFactor),
      pixelsFromUnits(right - left, xFactor), pixelsFromUnits(bottom - top, yFactor));
}

int32_t SetScanParameter2006(intptr_t handle, int32_t xResolution, int32_t yResolution, int32_t colorMode,
                             uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) {
  return SetScanParameterEx(handle, xResolution, yResolution, colorMode, left, top, right, bottom);
}

int32_t GetScanParameter(intptr_t handle, unsigned long* width, unsigned long* height) {
  return driverOf(handle).getScanParameter(width, height);
}

int32_t StartScan(intptr_t handle) {
  if (handle == 0) return nullHandle;
  totalBytesRead = 0;
  return driverOf(handle).startScan();
}

int32_t ReadImage(intptr_t handle, unsigned char* buffer, uint32_t size, uint32_t* delivered) {
  if (handle == 0) return nullHandle;
  unsigned long length = size;
  const int result = driverOf(handle).readImageData(buffer, &length, static_cast<int>(totalBytesRead));
  const auto deliveredNow = static_cast<uint32_t>(length);
  if (delivered != nullptr) *delivered = deliveredNow;
  // Includes a row that was only reported, so that it stays equal to the host's own count of the bytes read.
  totalBytesRead += deliveredNow;
  return result;
}

int32_t SetIdleCallback(void* callback) {
  return callback != nullptr ? 1 : 0;
}
int32_t IsUSBConnectionValid(intptr_t handle) {
  return handle != 0 ? 1 : 0;
}
int32_t ForceQuit(intptr_t handle) {
  return handle != 0 ? 1 : 0;
}
int32_t EndNetworkScan(intptr_t handle) {
  return handle != 0 ? 0 : -1;
}
