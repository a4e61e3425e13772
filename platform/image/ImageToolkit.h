#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// The operations of an image toolkit that the bitmap export needs (off-screen images, relocatable memory, the
// component that exports an image), under the names that they have on the platform that the library was
// designed for (NewGWorld is newGWorld(), GraphicsExportSetDepth is GraphicsExport::setDepth()). Implemented
// over the TIFF library and by the scripted fake of the tests. Independent of colour space codes.
//
// Nothing throws and nothing blocks. Operations that can fail return an OSErr, noErr being 0, or a null
// pointer. Any thread, but each image, handle and component belongs to one thread at a time.
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

// A fixed-point number, 16 bits before the binary point and 16 after it.
using Fixed = std::int32_t;
// Saturates at the largest number, a little below 32768.
inline constexpr Fixed long2Fix(std::uint32_t value) {
  constexpr std::uint32_t largest = 0x7FFF;
  return value > largest ? 0x7FFFFFFF : static_cast<Fixed>(value << 16);
}

// Bottom and right are the first coordinates outside.
struct Rect {
  std::int16_t top;
  std::int16_t left;
  std::int16_t bottom;
  std::int16_t right;
};

// A block of memory that grows as it is written to.
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

// An off-screen image together with its pixel map: first row first; pixels of 32 bits are the four bytes 0,
// R, G, B, those of 1 bit are packed eight to a byte, the first in the highest bit.
class GWorld {
 public:
  // Keeps the pixels in place until unlockPixels(). False if the system has reclaimed their memory.
  virtual bool lockPixels() = 0;
  // Undoes lockPixels().
  virtual void unlockPixels() = 0;
  // The first byte of the first row, valid until unlockPixels(). Only while locked.
  virtual std::uint8_t* getPixBaseAddr() = 0;
  // Bytes from one row to the next, at least what a row needs. For images of 1 or 8 bits, callers mask the
  // bits above the lower 14, which may be flags, unless the lower 14 alone are too few for a row.
  virtual std::uint32_t getPixRowBytes() = 0;

 protected:
  ~GWorld() = default;
};

// The target of drawing. A null port is the screen.
struct CurrentPort {
  GWorld* port;
  std::uint32_t device;
};

// An open component that exports one image. Borrows the image and the handle until it is closed or given
// others. Belongs to the toolkit's caller, who closes it there.
class GraphicsExport {
 public:
  // The image to export. Null is paramErr.
  virtual OSErr setInputGWorld(GWorld* image) = 0;
  // The kind of file: 24 is RGB, 40 is 8-bit grey with 0 as black, 33 is 1 bit with 1 as black. Any
  // other is paramErr.
  virtual OSErr setDepth(std::int32_t depth) = 0;
  // The memory that receives the file. Null is paramErr.
  virtual OSErr setOutputHandle(Handle handle) = 0;
  // Dots per inch, 0 for unknown. A negative number is paramErr.
  virtual OSErr setResolution(Fixed horizontal, Fixed vertical) = 0;
  // Replaces the content of the handle with the exported image. paramErr if something is missing or does not
  // fit, memFullErr for lack of memory; on failure the content is undefined.
  virtual OSErr doExport() = 0;

 protected:
  ~GraphicsExport() = default;
};

// The toolkit itself: makes the objects above and disposes of them.
class ImageToolkit {
 public:
  virtual ~ImageToolkit() = default;

  // A block of `size` zero bytes, or null for lack of memory. The caller disposes of it.
  virtual Handle newHandle(std::size_t size) = 0;
  // Frees a block of newHandle(); null is allowed.
  virtual void disposeHandle(Handle handle) = 0;

  // The current port of the calling thread, and its replacement.
  virtual CurrentPort getGWorld() = 0;
  virtual void setGWorld(const CurrentPort& port) = 0;
  // Replaces the port alone and leaves the device.
  virtual void setPort(GWorld* port) = 0;

  // The system's table of this number, valid for ever; null for one that does not exist.
  virtual const ColorTable* getCTable(std::int16_t id) = 0;
  // Makes an image of 1, 8 or 32 bits per pixel, all zero, which the caller disposes of. May succeed with a
  // null image; callers check both. On failure *image is null.
  virtual OSErr newGWorld(GWorld** image, std::int16_t depth, const Rect& bounds,
                          const ColorTable* colors) = 0;
  // Frees an image of newGWorld(), which must not be the current port.
  virtual void disposeGWorld(GWorld* image) = 0;

  // A component of this kind, which the caller closes; null if there is none.
  virtual GraphicsExport* openADefaultComponent(OSType type, OSType subtype) = 0;
  // Frees a component of openADefaultComponent().
  virtual void closeComponent(GraphicsExport* component) = 0;
};

// The toolkit that exports use from now on. Never null: until someone calls useImageToolkit() it is the one
// over the TIFF library. The toolkit given stays the caller's and must outlive its use. Null restores the
// default. Only tests choose another; one thread at a time.
ImageToolkit& imageToolkit();
void useImageToolkit(ImageToolkit* toolkit);

}  // namespace platform
