#pragma once

#include <cstdlib>

#include "ImageToolkit.h"

namespace platform {

// The image toolkit of this system: images in ordinary memory, exported as TIFF (TiffEncoder.h). There is no
// screen: the current port, one for each thread, is only remembered. Any thread; an image, handle or
// component is for one thread at a time.
class LibtiffImageToolkit : public ImageToolkit {
 public:
  // Gets zero-filled memory or null, as calloc(); free() takes it back.
  using Allocator = void* (*)(std::size_t count, std::size_t size);

  // Where the pixels of images are taken from.
  explicit LibtiffImageToolkit(Allocator allocateZeroed = std::calloc) : allocateZeroed_(allocateZeroed) {}

  Handle newHandle(std::size_t size) override;
  void disposeHandle(Handle handle) override;
  CurrentPort getGWorld() override;
  void setGWorld(const CurrentPort& port) override;
  void setPort(GWorld* port) override;
  const ColorTable* getCTable(std::int16_t id) override;
  // paramErr for empty bounds and for 8 bits without the grey table, cDepthErr for another depth, memFullErr
  // where the pixels cannot be had or no TIFF file could hold them.
  OSErr newGWorld(GWorld** image, std::int16_t depth, const Rect& bounds, const ColorTable* colors) override;
  void disposeGWorld(GWorld* image) override;
  // Takes and gives components of its own only; there is one kind.
  GraphicsExport* openADefaultComponent(OSType type, OSType subtype) override;
  void closeComponent(GraphicsExport* component) override;

 private:
  Allocator allocateZeroed_;
};

}  // namespace platform
