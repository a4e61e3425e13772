#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "PacketReader.h"

namespace virtualscanner {

// Turns what the host writes into messages: the payloads of its control packets, however they are split over
// writes. Packets of other types are skipped. Independent of XML and USB.
//
// Unlike the library's parser it recovers from a broken write. A write that begins with a control packet's
// header while a packet is unfinished drops the unfinished one (no message text holds these bytes), and a
// write in which a header announces more than a message can hold is dropped whole, together with what was
// unfinished before it.
//
// Keeps at most one unfinished message between two writes. Throws only std::bad_alloc and what the handler
// throws. One thread at a time.
class RequestInbox : private wire::PacketReader::Listener {
 public:
  using Handler = std::function<void(std::string_view message)>;

  // The handler is called inside receive(), once for each complete control packet. It must not use the inbox;
  // the view is valid only during the call.
  explicit RequestInbox(Handler handler) : handler_(std::move(handler)) {}
  RequestInbox(const RequestInbox&) = delete;
  RequestInbox& operator=(const RequestInbox&) = delete;

  void receive(const std::uint8_t* bytes, std::size_t count);
  // Drops an unfinished packet.
  void clear() { reader_.reset(); }

 private:
  void onControlMessage(std::string_view message) override { received_.emplace_back(message); }

  Handler handler_;
  wire::PacketReader reader_{*this, wire::PacketReader::largestMessage};
  std::vector<std::string> received_;  // with the write under way
};

}  // namespace virtualscanner
