#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "PageImage.h"

namespace virtualscanner {

// The faults of one stream, at positions in image bytes (FaultKind::garbage, FaultKind::truncatedImage).
struct StreamFaults {
  std::optional<std::uint32_t> garbageAfter;
  std::optional<std::uint32_t> stopAfter;
};

// The bytes of the data pipe for one job: begin job, begin page, the image in packets, end page, end job.
// Read from front to back; packets are framed when read. Independent of transfers. One thread at a time.
class JobStream {
 public:
  // `payload` image bytes go into each image packet, see ScannerOptions::packetPayload.
  JobStream(PageImage image, std::uint32_t payload, const StreamFaults& faults);

  // Reads up to `capacity` bytes; fewer only at the end.
  std::size_t read(std::uint8_t* buffer, std::size_t capacity);
  bool atEnd();

 private:
  enum class Stage : std::uint8_t { beginning, image, over };

  void addMarker(std::uint8_t type);
  void addHeader(std::uint8_t type, std::uint32_t length);
  // Makes more bytes available, or sets `over`.
  void advance();
  void addGarbageIfDue();
  std::size_t takeFraming(std::uint8_t* buffer, std::size_t capacity);
  std::size_t takePayload(std::uint8_t* buffer, std::size_t capacity);

  PageImage image_;
  std::uint32_t payload_;
  StreamFaults faults_;
  Stage stage_ = Stage::beginning;
  std::vector<std::uint8_t> framing_;  // bytes between image bytes, sent from framingSent_ on
  std::size_t framingSent_ = 0;
  std::uint32_t payloadLeft_ = 0;  // image bytes of the packet being sent
  std::uint64_t imageSent_ = 0;
};

}  // namespace virtualscanner
