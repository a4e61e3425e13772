#include "Tickets.h"

namespace {

using namespace frontend;

std::string sizeOf(std::uint32_t width, std::uint32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

std::string summaryOfTicket(const share::ScanTicket& ticket) {
  const auto& [resolution, mode, area] = ticket.settings;
  const PictureLayout& picture = ticket.picture;
  return (mode == ColorMode::color ? "color " : "gray ") + std::to_string(resolution) + ": " +
         sizeOf(area.width, area.height) + "+" + std::to_string(area.left) + "+" + std::to_string(area.top) +
         (ticket.threshold ? ", threshold " + std::to_string(*ticket.threshold) : "") + ", " +
         std::string(pictureFormatNames.at(static_cast<std::size_t>(ticket.format))) + ", " +
         sizeOf(picture.channels, picture.bitsPerChannel) + " " + sizeOf(picture.width, picture.height) +
         " at " + std::to_string(picture.resolution);
}

}  // namespace

std::string summaryOf(const std::string& document) {
  const auto result = share::readTicket(document);
  if (const auto* refusal = std::get_if<share::TicketRefusal>(&result))
    return std::to_string(refusal->code) + " " + refusal->sentence;
  return summaryOfTicket(std::get<share::ScanTicket>(result));
}
