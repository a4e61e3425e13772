#pragma once

#include "ImageFile.h"
#include "Paper.h"

namespace virtualscanner {

// A picture on the glass: as large as fits in its proportions, in the top left corner, each point the colour
// of the picture's pixel that lies there. Owns its pixels.
class ImagePaper final : public Paper {
 public:
  // The picture is not empty.
  explicit ImagePaper(Image image);

  Color colorAt(std::int64_t x, std::int64_t y) const override;

 private:
  Image image_;
  bool fillsHeight_;  // else it fills the width
};

}  // namespace virtualscanner
