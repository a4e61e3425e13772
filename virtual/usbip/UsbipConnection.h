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

// The USB port that several clients compete for: one connection at a time holds the scanner. The scanner
// belongs to the caller and outlives the port, which outlives its connections. One thread at a time.
class UsbipPort {
 public:
  explicit UsbipPort(VirtualScanner& scanner) : scanner_(scanner) {}
  bool isTaken() const { return holder_ != nullptr; }

 private:
  friend class UsbipConnection;

  VirtualScanner& scanner_;
  const UsbipConnection* holder_ = nullptr;
};

// The server's side of one USB/IP connection: bytes in and out, no sockets. The format is in UsbipFormat.h.
//
//   UsbipConnection connection(port);
//   connection.receive(bytes);          // while wantsInput()
//   send(connection.output()), connection.sent(count);
//
// A client that imports the device plugs it in, which is a power-on; destroying the connection unplugs it and
// drops all waiting requests. If a request moved bytes before the client unlinks it, its reply with these
// bytes precedes the reply to the unlinking, so that nothing the device sent is lost.
//
// Does not trust the client: every protocol violation ends the connection, and complaint() names it. The
// buffers of requests in flight and the replies not yet sent have at most memoryLimit bytes, not counting the
// request that is being received; a request beyond that gets -ENOMEM. Never blocks. Throws only
// std::bad_alloc. One thread at a time.
class UsbipConnection {
 public:
  static constexpr std::size_t largestTransfer = std::size_t{16} << 20;
  static constexpr std::size_t memoryLimit = 4 * largestTransfer;
  static constexpr std::size_t mostRequests = 1024;
  // No input is processed while this much output waits.
  static constexpr std::size_t outputLimit = std::size_t{1} << 20;

  explicit UsbipConnection(UsbipPort& port) : port_(port) {}
  ~UsbipConnection();
  UsbipConnection(const UsbipConnection&) = delete;
  UsbipConnection& operator=(const UsbipConnection&) = delete;

  // Begins after the import, for a client that is given a connection with the device already attached, such
  // as a kernel. Returns false if another client holds the device.
  bool attach();

  // Processes the next bytes of the client, however they are split. To be called only while wantsInput().
  void receive(std::span<const std::uint8_t> bytes);
  // False while too much output waits, and after the end.
  bool wantsInput() const { return !ended_ && output().size() < outputLimit; }

  // The bytes to be sent next; valid until the next call of another function.
  std::span<const std::uint8_t> output() const { return std::span(output_).subspan(outputSent_); }
  // `count` bytes of the output were sent. Processes the input that was waiting for that.
  void sent(std::size_t count);

  bool isAttached() const { return wire_.has_value(); }
  // Whether the connection is to be closed once the waiting output is sent: after a list of devices, a
  // refused import, a protocol violation, or the unplugging of the device.
  bool hasEnded() const { return ended_; }
  // The client's protocol violation in words; empty if there was none.
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
  // Each takes one request off the front of the input; false if it has not arrived completely.
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
