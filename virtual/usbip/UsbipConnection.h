#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "UsbipFormat.h"
#include "VirtualScanner.h"
#include "WiredScanner.h"

namespace virtualscanner {

class UsbipConnection;

// The scanner as several clients see it, of which one at a time can have it. The scanner belongs to the
// caller and outlives the object, which outlives its connections.
class UsbipPort {
 public:
  explicit UsbipPort(VirtualScanner& scanner) : scanner_(scanner) {}
  bool isTaken() const { return holder_ != nullptr; }

 private:
  friend class UsbipConnection;

  VirtualScanner& scanner_;
  const UsbipConnection* holder_ = nullptr;
};

// The server's side of one USB/IP connection: bytes in and bytes out, no sockets. UsbipFormat.h draws them.
//
//   UsbipConnection connection(port);
//   connection.receive(bytes);          // while wantsInput()
//   send(connection.output()), connection.sent(count);
//
// A client that imports the device plugs it in, which is a power-on; it is unplugged when the connection
// goes, with everything that waits. A request that moved bytes before the client took it back is answered
// with them before the unlinking is, so that nothing the device sent is lost.
//
// Trusts the client in nothing: whatever breaks the protocol ends the connection, and complaint() says why.
// Requests and replies take at most memoryLimit bytes, beside the request that is just coming in; one for
// which there is no room is answered with -ENOMEM. One thread at a time. Nothing throws but std::bad_alloc.
class UsbipConnection {
 public:
  static constexpr std::size_t largestTransfer = std::size_t{16} << 20;
  static constexpr std::size_t memoryLimit = 4 * largestTransfer;
  static constexpr std::size_t mostRequests = 1024;
  // No input is worked on while so much output waits.
  static constexpr std::size_t outputLimit = std::size_t{1} << 20;

  explicit UsbipConnection(UsbipPort& port) : port_(port) {}
  ~UsbipConnection();
  UsbipConnection(const UsbipConnection&) = delete;
  UsbipConnection& operator=(const UsbipConnection&) = delete;

  // Begins after the import, as a client does that was handed a connection with the device behind it. False
  // where another client has it.
  bool attach();

  void receive(std::span<const std::uint8_t> bytes);
  // False while enough output waits, and after the end.
  bool wantsInput() const { return !ended_ && output().size() < outputLimit; }

  // What waits to be sent; valid until the next call of another function.
  std::span<const std::uint8_t> output() const { return std::span(output_).subspan(outputSent_); }
  // So many bytes of it are sent.
  void sent(std::size_t count);

  bool isAttached() const { return wire_.has_value(); }
  // Nothing more will come but the output that waits: then the connection is to be closed. A device that is
  // gone ends it too.
  bool hasEnded() const { return ended_; }
  // In words, how the client broke the protocol; empty where it did not.
  const std::string& complaint() const { return complaint_; }

 private:
  struct InFlight {
    std::uint32_t direction;
    std::size_t bytes;
  };
  struct Unlinking {
    std::uint32_t sequenceNumber;  // of the unlink command
    std::uint32_t target;
  };

  void process();
  // Each takes one request off the front of the input; false where it is not all there yet.
  bool takeOne();
  bool takeOperation();
  bool takeCommand();
  void listDevices();
  void import(std::string_view busId);
  void submit(const usbip::CommandHeader& header, const usbip::SubmitCommand& command,
              const std::uint8_t* outgoing);
  void unlink(std::uint32_t sequenceNumber, std::uint32_t target);
  void collectReplies(std::optional<Unlinking> unlinking = std::nullopt);
  bool complainAbout(const usbip::CommandHeader& header);
  bool complainAbout(const usbip::CommandHeader& header, const usbip::SubmitCommand& command);
  void end(std::string complaint = {});

  std::span<const std::uint8_t> input() const { return std::span(input_).subspan(inputTaken_); }

  UsbipPort& port_;
  std::optional<WiredScanner> wire_;            // while the client has the device
  std::map<std::uint32_t, InFlight> inFlight_;  // by sequence number
  std::size_t inFlightBytes_ = 0;
  std::vector<std::uint8_t> input_;
  std::size_t inputTaken_ = 0;
  std::vector<std::uint8_t> output_;
  std::size_t outputSent_ = 0;
  bool ended_ = false;
  std::string complaint_;
};

}  // namespace virtualscanner
