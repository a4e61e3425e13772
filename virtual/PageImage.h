#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "PageRequest.h"
#include "Paper.h"

namespace virtualscanner {

// The first lines of the image that the device sends: a binary PPM or PGM with a comment as its second line.
std::string imageHeader(const PageRequest& request);
// The n-th wrong header of FaultKind::wrongHeader.
std::string wrongImageHeader(const PageRequest& request, std::uint32_t kind);

// Paints the rows of one scan. Shares the paper. One thread at a time.
class RowPainter {
 public:
  RowPainter(std::shared_ptr<const Paper> paper, const PageRequest& request);
  // Paints one row, request.bytesPerRow() bytes. Rows count from the top of the window.
  void paint(std::uint32_t row, std::uint8_t* destination);

 private:
  std::shared_ptr<const Paper> paper_;
  PageRequest request_;
  std::vector<std::uint8_t> rgb_;  // scratch for grey rows
};

// All rows of a scan.
std::vector<std::uint8_t> paintPage(std::shared_ptr<const Paper> paper, const PageRequest& request);

// The bytes of one image, header and rows, read from front to back. Rows are painted as they are read or
// copied from a page painted in advance. Independent of packets. One thread at a time.
class PageImage {
 public:
  PageImage(std::shared_ptr<const Paper> paper, const PageRequest& request, std::string header);
  PageImage(std::shared_ptr<const std::vector<std::uint8_t>> page, std::string header);

  // Bytes not read yet.
  std::uint64_t left() const { return size_ - position_; }
  // Reads exactly `count` bytes, no more than left().
  void read(std::uint8_t* destination, std::size_t count);

 private:
  std::size_t readRaster(std::uint64_t offset, std::uint8_t* destination, std::size_t count);
  std::size_t readRow(std::uint64_t offset, std::uint8_t* destination, std::size_t count);

  std::string header_;
  std::unique_ptr<RowPainter> painter_;                    // set if rows are painted as they are read
  std::shared_ptr<const std::vector<std::uint8_t>> page_;  // set if all rows are painted already
  std::vector<std::uint8_t> row_;                          // the last row that was read in part
  std::uint64_t rowInBuffer_ = UINT64_MAX;
  std::uint64_t size_;
  std::uint64_t position_ = 0;
};

}  // namespace virtualscanner
