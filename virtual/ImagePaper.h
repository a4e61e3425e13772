#pragma once

#include "ImageFile.h"
#include "Paper.h"

namespace virtualscanner {

// A picture on the glass, scaled to fit in its proportions, in the top left corner. Each point has the colour
// of the picture's pixel that lies there; nothing is interpolated. Owns its pixels. Immutable.
class ImagePaper final : public Paper {
 public:
  // The picture is not empty.
  explicit ImagePaper(Image image);

  Color colorAt(std::int64_t x, std::int64_t y) const override;
  void paintRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                std::uint8_t* rgb) const override;
  bool paintGreyRow(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                    std::uint8_t* grey) const override;

 private:
  // Divides a row into runs of one colour and calls fill(first, count, color) for each, from left to right.
  // Pixels count from `left`; a run may be empty.
  template <typename Fill>
  void forEachRun(std::uint32_t resolution, std::int64_t row, std::int64_t left, std::uint32_t width,
                  Fill fill) const;

  // The picture's pixels along one side of the glass, and the length of that side: its scale.
  std::int64_t pixels() const { return fillsHeight_ ? image_.height : image_.width; }
  std::int64_t units() const { return fillsHeight_ ? glassHeight : glassWidth; }

  Image image_;
  bool fillsHeight_;  // otherwise it fills the width
};

}  // namespace virtualscanner
