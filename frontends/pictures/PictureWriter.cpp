#include "PictureWriter.h"

namespace frontend {

std::unique_ptr<PictureWriter> makePictureWriter(PictureFormat format, ByteSink& sink,
                                                 const PictureNotes& notes) {
  switch (format) {
    case PictureFormat::tiff:
      return makeTiffWriter(sink, notes);
    case PictureFormat::png:
      return makePngWriter(sink, notes);
    case PictureFormat::jpeg:
      return makeJpegWriter(sink, notes);
    case PictureFormat::pnm:
      return makePnmWriter(sink, notes);
    case PictureFormat::pdf:
      break;
  }
  return makePdfWriter(sink, notes);
}

}  // namespace frontend
