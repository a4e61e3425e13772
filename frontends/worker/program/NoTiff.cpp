#include "Bitmap.h"

// The library's TIFF is a file for hosts of the plug-in, which LibraryEnvironment keeps from being written.
// This definition returns what the function of platform/image returns there, and the linker takes it instead:
// a worker, which is started for every scan, need not load libtiff and the ten libraries of its codecs.
bool platform::writeTIFF(const Bitmap& /*bitmap*/, const std::string& /*path*/) {
  return false;
}
