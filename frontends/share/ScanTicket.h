#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "PictureFormat.h"
#include "PictureLayout.h"
#include "ScanSettings.h"

namespace frontend::share {

// What a client wants scanned: a ScanSettings document of eSCL, read and completed.
struct ScanTicket {
  // For the scanner: a mode and a resolution that it supports, and an area on its bed.
  ScanSettings settings;
  std::optional<std::uint8_t> threshold;  // lineart, as in ScanRequest
  PictureFormat format = PictureFormat::jpeg;
  // Of the picture that the client gets: as requested. Differs from what the scanner delivers only in color
  // above the highest color resolution, where the rows are scaled up, and in rows below the bed, which are
  // white.
  PictureLayout picture;
};

// Why a ticket is not accepted.
struct TicketRefusal {
  unsigned code;         // of HTTP: 400 for anything but a ScanSettings document, 409 for an impossible scan
  std::string sentence;  // for the client's developer and the journal, in printable ASCII
};

// Reads the body of POST ScanJobs, whose size has been limited. Throws nothing but std::bad_alloc.
std::variant<ScanTicket, TicketRefusal> readTicket(std::string_view body);

}  // namespace frontend::share
