#include "JobSpies.h"

#include <cstdlib>

#include "Data.h"
#include "USBScanProtocol.h"

namespace {
JobSpies* spies = nullptr;

void note(const std::string& event) {
  if (spies != nullptr) spies->events.push_back(event);
}
}  // namespace

JobSpies::JobSpies() {
  spies = this;
}
JobSpies::~JobSpies() {
  spies = nullptr;
}

extern "C" {

void* __real_initUSBScanProtocol(const USBScanProtocolCallbacks* callbacks);
void __real_receiveData(void* handle, const void* bytes, std::int32_t count, std::int8_t convert);
void __real_releaseUSBScanProtocol(void* handle);
void __real_dumpData(platform::Data* data);
std::int32_t __real_ConvertPPMToTIFF(platform::Data* data, unsigned char** rasterCopy,
                                     std::uint32_t* rasterLength, std::uint32_t xResolution,
                                     std::uint32_t yResolution, std::uint32_t* width, std::uint32_t* height,
                                     std::uint32_t* samplesPerPixel);

void* __wrap_initUSBScanProtocol(const USBScanProtocolCallbacks* callbacks) {
  if (spies != nullptr && spies->parserFails) return nullptr;
  void* parser = __real_initUSBScanProtocol(callbacks);
  if (spies != nullptr && parser != nullptr) ++spies->parsersMade;
  return parser;
}

void __wrap_receiveData(void* handle, const void* bytes, std::int32_t count, std::int8_t convert) {
  note("receive " + std::to_string(count) + " bytes, convert " + std::to_string(convert));
  __real_receiveData(handle, bytes, count, convert);
}

void __wrap_releaseUSBScanProtocol(void* handle) {
  if (spies != nullptr) ++spies->parsersReleased;
  __real_releaseUSBScanProtocol(handle);
}

void __wrap_dumpData(platform::Data* data) {
  note(data == nullptr ? "dump nothing" : "dump " + std::to_string(data->length()) + " bytes");
  __real_dumpData(data);
}

std::int32_t __wrap_ConvertPPMToTIFF(platform::Data* data, unsigned char** rasterCopy,
                                     std::uint32_t* rasterLength, std::uint32_t xResolution,
                                     std::uint32_t yResolution, std::uint32_t* width, std::uint32_t* height,
                                     std::uint32_t* samplesPerPixel) {
  note("convert " + std::to_string(data == nullptr ? 0 : data->length()) + " bytes, " +
       std::to_string(xResolution) + " x " + std::to_string(yResolution));
  const std::int32_t result = __real_ConvertPPMToTIFF(data, rasterCopy, rasterLength, xResolution,
                                                      yResolution, width, height, samplesPerPixel);
  if (spies == nullptr || !spies->conversionFails) return result;
  // As if there were no memory for the raster: the block is freed, everything else was stored.
  std::free(*rasterCopy);
  *rasterCopy = nullptr;
  return 1;
}

}  // extern "C"
