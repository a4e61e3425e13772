#include "StreamBounds.h"

#include "PictureHeader.h"

namespace frontend {
namespace {

constexpr std::uint32_t emptyReadsLimit = 1000;
// The largest picture and as much again: packets of another type, or rows that nobody asked for.
constexpr std::uint64_t bytesLimit = 2 * PictureHeader::largestRaster;

}  // namespace

bool StreamBounds::noteRead(std::uint32_t size) {
  bytes_ += size;
  emptyInARow_ = size == 0 ? emptyInARow_ + 1 : 0;
  if (size > 0) failuresInARow_ = 0;
  return emptyInARow_ <= emptyReadsLimit && bytes_ <= bytesLimit;
}

}  // namespace frontend
