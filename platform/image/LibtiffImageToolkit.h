#pragma once

#include <cstdlib>

#include "ImageToolkit.h"

namespace platform {

// The image toolkit of this system: images in ordinary memory, exported as TIFF (TiffEncoder.h). There is no
// screen: the current port, one for each thread, is only remembered. Threads as for ImageToolkit.
class LibtiffImageToolkit : public ImageToolkit {
 public:
  // Returns zero-filled memory or null, as calloc(); free() must be able to take it.
  using Allocator = void* (*)(std::size_t count, std::size_t size);

  // `allocateZeroed` supplies the pixels of images.
  explicit LibtiffImageToolkit(Allocator allocateZeroed = std::calloc) : allocateZeroed_(allocateZeroed) {}

  Handle newHandle(std::size_t size) override;
  void disposeHandle(Handle handle) override;
  CurrentPort getGWorld() override;
  void setGWorld(const CurrentPort& port) override;
  void setPort(GWorld* port) override;
  const ColorTable* getCTable(std::int16_t id) override;
  // paramErr for empty bounds and for 8 bits without the grey table, cDepthErr for another depth, memFullErr
  // if memory for the pixels runs out or they would not fit into a TIFF file.
  OSErr newGWorld(GWorld** image, std::int16_t depth, const Rect& bounds, const ColorTable* colors) override;
  void disposeGWorld(GWorld* image) override;
  // There is one kind of component; closeComponent() takes no others.
  GraphicsExport* openADefaultComponent(OSType type, OSType subtype) override;
  void closeComponent(GraphicsExport* component) override;

 private:
  Allocator allocateZeroed_;
};

}  // namespace platform
