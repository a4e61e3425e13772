#include "ImageInfoDocument.h"

#include "StatusDocument.h"
#include "XmlWriter.h"

namespace frontend::share {

std::string imageInfoDocument(std::string_view jobId, const PictureLayout& picture) {
  XmlWriter xml("scan:ScanImageInfo");
  xml.leaf("pwg:JobUri", jobPath(jobId));
  xml.leaf("pwg:JobUuid", jobId);
  xml.leaf("scan:ActualWidth", picture.width);
  xml.leaf("scan:ActualHeight", picture.height);
  xml.leaf("scan:ActualBytesPerLine", picture.rowBytes());
  return xml.finish();
}

}  // namespace frontend::share
