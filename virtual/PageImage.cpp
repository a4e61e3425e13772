#include "PageImage.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "PixelRuns.h"

namespace virtualscanner {

std::string imageHeader(const PageRequest& request) {
  return std::string(request.color ? "P6" : "P5") + "\n# Quenvar Q750\n" + std::to_string(request.width) +
         " " + std::to_string(request.height) + "\n255\n";
}

std::string wrongImageHeader(const PageRequest& request, std::uint32_t kind) {
  const std::string size = std::to_string(request.width) + " " + std::to_string(request.height);
  switch (kind) {
    case 1:
      return std::string(request.color ? "P6" : "P5") + "\n" + size + "\n255\n";
    case 2:
      return "P9\n# Quenvar Q750\n" + size + "\n255\n";
    case 3:
      return std::string(request.color ? "P6" : "P5") + "\n# Quenvar Q750\n2147483647 2147483647\n255\n";
    default:
      return {};
  }
}

RowPainter::RowPainter(std::shared_ptr<const Paper> paper, const PageRequest& request)
    : paper_(std::move(paper)), request_(request), rgb_(request.color ? 0 : std::size_t{request.width} * 3) {}

void RowPainter::paint(std::uint32_t row, std::uint8_t* destination) {
  const PageRequest& request = request_;
  const std::int64_t place = std::int64_t{request.top} + row;
  if (request.color)
    return paper_->paintRow(request.resolution, place, request.left, request.width, destination);
  if (paper_->paintGreyRow(request.resolution, place, request.left, request.width, destination)) return;
  const std::uint8_t* rgb = rgb_.data();
  paper_->paintRow(request.resolution, place, request.left, request.width, rgb_.data());
  // Runs of one colour are common, and comparing pixels is cheaper than computing their luma.
  for (std::size_t column = 0; column < request.width;) {
    const std::size_t run = runLength(rgb + column * 3, request.width - column);
    std::memset(destination + column, greyOf({rgb[column * 3], rgb[column * 3 + 1], rgb[column * 3 + 2]}),
                run);
    column += run;
  }
}

std::vector<std::uint8_t> paintPage(std::shared_ptr<const Paper> paper, const PageRequest& request) {
  // The largest window has 1.7 billion bytes, which a 32-bit size can still count.
  std::vector<std::uint8_t> page(static_cast<std::size_t>(request.imageBytes()));
  RowPainter painter(std::move(paper), request);
  for (std::uint32_t row = 0; row < request.height; ++row)
    painter.paint(row, &page[row * request.bytesPerRow()]);
  return page;
}

PageImage::PageImage(std::shared_ptr<const Paper> paper, const PageRequest& request, std::string header)
    : header_(std::move(header)),
      painter_(std::make_unique<RowPainter>(std::move(paper), request)),
      row_(request.bytesPerRow()),
      size_(header_.size() + request.imageBytes()) {}

PageImage::PageImage(std::shared_ptr<const std::vector<std::uint8_t>> page, std::string header)
    : header_(std::move(header)), page_(std::move(page)), size_(header_.size() + page_->size()) {}

void PageImage::read(std::uint8_t* destination, std::size_t count) {
  while (count > 0) {
    std::size_t moved = 0;
    if (position_ < header_.size()) {
      moved = header_.copy(reinterpret_cast<char*>(destination), count, static_cast<std::size_t>(position_));
    } else {
      moved = readRaster(position_ - header_.size(), destination, count);
    }
    position_ += moved;
    destination += moved;
    count -= moved;
  }
}

std::size_t PageImage::readRaster(std::uint64_t offset, std::uint8_t* destination, std::size_t count) {
  if (page_ == nullptr) return readRow(offset, destination, count);
  std::memcpy(destination, page_->data() + offset, count);
  return count;
}

std::size_t PageImage::readRow(std::uint64_t offset, std::uint8_t* destination, std::size_t count) {
  const std::uint64_t row = offset / row_.size();
  const auto inRow = static_cast<std::size_t>(offset % row_.size());
  if (inRow == 0 && count >= row_.size()) {
    painter_->paint(static_cast<std::uint32_t>(row), destination);
    return row_.size();
  }
  if (row != rowInBuffer_) painter_->paint(static_cast<std::uint32_t>(row), row_.data());
  rowInBuffer_ = row;
  const std::size_t moved = std::min(count, row_.size() - inRow);
  std::memcpy(destination, &row_[inRow], moved);
  return moved;
}

}  // namespace virtualscanner
