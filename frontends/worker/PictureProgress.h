#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "PictureHeader.h"
#include "PictureListener.h"
#include "ScanOutcome.h"

namespace frontend {

// What has arrived of one picture, handed to a listener while it arrives. Knows neither packets nor the job.
// Throws what the listener throws. One thread.
class PictureProgress {
 public:
  enum class Taken : std::uint8_t {
    wanted,
    unreadable,  // header().complaint() gives the reason
    refused,     // refusal() gives the outcome
    unwanted,    // the listener takes no more rows
  };

  // `listener` may be null; it outlives the object.
  explicit PictureProgress(PictureListener* listener) : listener_(listener) {}

  // The next bytes of an image packet. What follows the last row is counted and handed to nobody.
  Taken take(const std::uint8_t* bytes, std::size_t count);
  // The packet of the bytes taken last is whole: only now does the library have them.
  void endPacket() { inWholePackets_ = arrived_; }

  // Whether the library has every row.
  bool isWhole() const;
  // Reports a whole picture to the listener, once; nothing where it is not whole.
  void reportWhole();

  const PictureHeader& header() const { return header_; }
  const ScanOutcome& refusal() const { return *refusal_; }
  // The outcome of a scan that ends with what is here, which is not whole.
  ScanOutcome incomplete() const;
  // The same where the scanner has been silent for this long.
  ScanOutcome silent(std::uint64_t milliseconds) const;

 private:
  std::uint64_t rows() const;
  Taken takeRaster(const std::uint8_t* bytes, std::size_t count);

  PictureListener* listener_;
  PictureHeader header_;
  std::uint64_t arrived_ = 0;         // bytes of the raster
  std::uint64_t inWholePackets_ = 0;  // those of them that the library has
  std::optional<ScanOutcome> refusal_;
  bool reported_ = false;
};

}  // namespace frontend
