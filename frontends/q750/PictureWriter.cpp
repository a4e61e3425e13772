#include "PictureWriter.h"

namespace frontend {

void writePicture(PictureFormat format, ByteSink& sink, const Raster& raster, const PictureNotes& notes) {
  switch (format) {
    case PictureFormat::tiff:
      return writeTiff(sink, raster, notes);
    case PictureFormat::png:
      return writePng(sink, raster, notes);
    case PictureFormat::pnm:
      return writePnm(sink, raster, notes);
  }
}

void writePnm(ByteSink& sink, const Raster& raster, const PictureNotes& notes) {
  const std::string header = std::string(raster.bytesPerPixel == 3 ? "P6" : "P5") + "\n# " + notes.software +
                             ", " + std::to_string(notes.resolution) + " dots per inch\n" +
                             std::to_string(raster.width) + " " + std::to_string(raster.height) + "\n255\n";
  sink.write(header.data(), header.size());
  sink.write(raster.pixels, raster.bytes());
}

}  // namespace frontend
