#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The operations of an image toolkit that the bitmap export needs (off-screen images, relocatable memory, the
// component that exports an image), under the names that they have on the platform that the library was
// designed for (NewGWorld is newGWorld(), GraphicsExportSetDepth is GraphicsExport::setDepth()). Implemented
// over the TIFF library and by the scripted fake of the tests. Knows nothing of colour space codes.
//
// Nothing throws. Operations that can fail answer an OSErr, noErr being 0, or a null pointer.
namespace platform {

using OSErr = std::int32_t;
inline constexpr OSErr noErr = 0;
inline constexpr OSErr paramErr = -50;
inline constexpr OSErr memFullErr = -108;
inline constexpr OSErr cDepthErr = -157;

// Four characters, the first in the highest byte.
using OSType = std::uint32_t;
inline constexpr OSType kGraphicsExporterType = 0x67726578;  // 'grex'
inline constexpr OSType kTIFFFileType = 0x54494646;          // 'TIFF'

// A number of 16 bits before the binary point and 16 behind it.
using Fixed = std::int32_t;
// What is too large for 16 bits with a sign gives the largest number that there is, a little below 32768.
inline constexpr Fixed long2Fix(std::uint32_t value) {
  constexpr std::uint32_t largest = 0x7FFF;
  return value > largest ? 0x7FFFFFFF : static_cast<Fixed>(value << 16);
}

// Bottom and right lie outside.
struct Rect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

// A block of memory that grows where it is written to.
struct RelocatableBlock {
  std::vector<std::uint8_t> bytes;
};
using Handle = RelocatableBlock*;

// A colour table of the system, which owns it.
struct ColorTable {
  std::int16_t id;
};
// The standard table of 256 greys.
inline constexpr std::int16_t greyTable8 = 40;

// An off-screen image together with its pixel map: first row first; pixels of 32 bits are the four bytes
// 0, R, G, B, those of 1 bit stand eight to a byte, the first in the highest bit.
class GWorld {
 public:
  // Keeps the pixels in their place until unlockPixels(). False where there are none any more.
  virtual bool lockPixels() = 0;
  virtual void unlockPixels() = 0;
  // Only while locked.
  virtual std::uint8_t* getPixBaseAddr() = 0;
  // Bytes from one row to the next, at least what a row needs. For images of 1 or 8 bits, whoever reads it
  // masks the two bits above the lower 14, which may be flags, unless the lower 14 alone are too few for a
  // row.
  virtual std::uint32_t getPixRowBytes() = 0;

 protected:
  ~GWorld() = default;
};

// What is drawn to. A null port is the screen.
struct CurrentPort {
  GWorld* port;
  std::uint32_t device;
};

// An open component that exports one image. Borrows what it is given, until it is closed or given something
// else.
class GraphicsExport {
 public:
  virtual OSErr setInputGWorld(GWorld* image) = 0;
  // 24 is RGB, 40 is 8-bit grey with 0 as black, 33 is 1 bit with 1 as black.
  virtual OSErr setDepth(std::int32_t depth) = 0;
  // A null handle is paramErr.
  virtual OSErr setOutputHandle(Handle handle) = 0;
  // Dots per inch. 0 stands for unknown.
  virtual OSErr setResolution(Fixed horizontal, Fixed vertical) = 0;
  // Replaces the content of the handle by the exported image; on failure the content is undefined.
  virtual OSErr doExport() = 0;

 protected:
  ~GraphicsExport() = default;
};

class ImageToolkit {
 public:
  virtual ~ImageToolkit() = default;

  // Null if memory ran out. The caller disposes of it.
  virtual Handle newHandle(std::size_t size) = 0;
  virtual void disposeHandle(Handle handle) = 0;

  virtual CurrentPort getGWorld() = 0;
  virtual void setGWorld(const CurrentPort& port) = 0;
  // Leaves the current device.
  virtual void setPort(GWorld* port) = 0;

  // Null for a table that does not exist.
  virtual const ColorTable* getCTable(std::int16_t id) = 0;
  // Makes an image of 1, 8 or 32 bits per pixel, all zero. May succeed with a null image; callers check both.
  // The caller disposes of it; on failure it is null.
  virtual OSErr newGWorld(GWorld** image, std::int16_t depth, const Rect& bounds,
                          const ColorTable* colors) = 0;
  // Not while it is the current port.
  virtual void disposeGWorld(GWorld* image) = 0;

  // Null where there is no such component. The caller closes it.
  virtual GraphicsExport* openADefaultComponent(OSType type, OSType subtype) = 0;
  virtual void closeComponent(GraphicsExport* component) = 0;
};

// The toolkit that exports use from now on. Never null: until someone calls useImageToolkit() it is the one
// over the TIFF library. The toolkit given stays the caller's. Null brings the default back. Meant for tests.
ImageToolkit& imageToolkit();
void useImageToolkit(ImageToolkit* toolkit);

}  // namespace platform
