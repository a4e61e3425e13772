#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace virtualscanner {

// A message longer than this is no message of any host.
inline constexpr std::uint32_t largestMessage = 1 << 20;

// Cuts what the host writes into control packets, with the project's own packet parser. Unlike that parser it
// finds back after a broken write: a chunk that begins with a control packet's header drops the unfinished
// packet before it (no message text holds these bytes), and an announced length that no message has drops
// what is there up to the next chunk.
class RequestInbox {
 public:
  using Handler = std::function<void(const char* text, int length)>;

  // The handler is called inside receive(), once for each complete control packet.
  explicit RequestInbox(Handler handler);
  ~RequestInbox();
  RequestInbox(const RequestInbox&) = delete;
  RequestInbox& operator=(const RequestInbox&) = delete;

  void receive(const std::uint8_t* bytes, std::size_t count);
  // Forgets an unfinished packet.
  void clear();

 private:
  bool endsInsidePacket() const { return headerBytes_ > 0 || payloadLeft_ > 0; }
  bool isSane(const std::uint8_t* bytes, std::size_t count);

  Handler handler_;
  void* parser_ = nullptr;
  std::uint8_t header_[8] = {};
  std::size_t headerBytes_ = 0;    // of the header being received
  std::uint32_t payloadLeft_ = 0;  // of the packet being received
};

}  // namespace virtualscanner
