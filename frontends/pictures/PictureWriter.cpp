#include "PictureWriter.h"

#include "RotatedWriter.h"

namespace frontend {
namespace {

std::unique_ptr<PictureWriter> makeUprightWriter(PictureFormat format, ByteSink& sink,
                                                 const PictureSettings& settings) {
  switch (format) {
    case PictureFormat::tiff:
      return makeTiffWriter(sink, settings);
    case PictureFormat::png:
      return makePngWriter(sink, settings);
    case PictureFormat::jpeg:
      return makeJpegWriter(sink, settings);
    case PictureFormat::pnm:
      return makePnmWriter(sink, settings);
    case PictureFormat::pdf:
      break;
  }
  return makePdfWriter(sink, settings);
}

}  // namespace

std::unique_ptr<PictureWriter> makePictureWriter(PictureFormat format, ByteSink& sink,
                                                 const PictureSettings& settings) {
  auto writer = makeUprightWriter(format, sink, settings);
  if (settings.rotation == Rotation::none) return writer;
  return makeRotatedWriter(std::move(writer), settings.rotation);
}

}  // namespace frontend
