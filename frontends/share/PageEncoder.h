#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ByteSink.h"
#include "PictureWriter.h"
#include "RowScaler.h"
#include "ScanTicket.h"

namespace frontend::share {

// Encodes the page that a ticket requests from the bytes that the scanner delivers, in pieces of any size,
// and writes it to a descriptor, which stays the caller's. Holds a few rows (of a PDF the compressed page).
// One thread. Errors end it and are reported by failure(); nothing throws but std::bad_alloc.
class PageEncoder {
 public:
  // `delivered` is the layout of the scanner's rows.
  PageEncoder(const ScanTicket& ticket, const PictureLayout& delivered, const PictureSettings& settings,
              int descriptor);

  void write(const std::uint8_t* bytes, std::size_t count);
  // Writes to the file what can be written already: a client is waiting for it.
  void flush();
  // Completes the page after its last byte.
  void finish();

  // Bytes in the file.
  std::uint64_t size() const { return sink_.position(); }
  // The error, as a clause; empty if there was none.
  std::string failure() const { return sink_.good() ? "" : sink_.failure(); }

 private:
  const std::size_t rowBytes_;  // of the scanner
  ByteSink sink_;
  std::unique_ptr<PictureWriter> writer_;
  RowScaler scaler_;
  std::vector<std::uint8_t> part_;  // of a row that has not arrived as a whole
};

}  // namespace frontend::share
