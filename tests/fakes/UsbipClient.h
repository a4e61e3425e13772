#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// A minimal USB/IP client over a loopback connection, written from the protocol's documentation and not from
// the server's code:
//
//   UsbipClient client(server.address().port);
//   ASSERT_EQ(client.import("1-1"), 0);
//   client.submit(1, 0x88, 512);
//   EXPECT_EQ(client.reply().sequenceNumber, 1);
class UsbipClient {
 public:
  using Bytes = std::vector<std::uint8_t>;

  // Connects to 127.0.0.1, or to ::1; fails the test if no server listens.
  explicit UsbipClient(std::uint16_t port, bool overIpv6 = false);
  ~UsbipClient();
  UsbipClient(const UsbipClient&) = delete;
  UsbipClient& operator=(const UsbipClient&) = delete;

  void send(const Bytes& bytes);
  // Waits for this many bytes; returns fewer if the server closes the connection first.
  Bytes receive(std::size_t count);
  // Waits for the next byte. Returns whether the server closed the connection instead.
  bool isAtEnd() { return receive(1).empty(); }
  void close();

  // Returns the status of the reply, or nothing if the server closed the connection.
  std::optional<std::uint32_t> import(const std::string& busId);

  struct Reply {
    std::uint32_t command = 0;  // 3 of a submit, 4 of an unlink; 0 where the connection ended
    std::uint32_t sequenceNumber = 0;
    int status = 0;
    Bytes bytes;  // of a submit that reads
    std::size_t moved = 0;
  };
  // A read of `capacity` bytes or a write; the address has the direction.
  void submit(std::uint32_t sequenceNumber, std::uint8_t address, std::uint32_t capacity);
  void submit(std::uint32_t sequenceNumber, std::uint8_t address, const Bytes& bytes);
  void submitControlRead(std::uint32_t sequenceNumber, const Bytes& setup, std::uint32_t capacity);
  void unlink(std::uint32_t sequenceNumber, std::uint32_t target);
  // Waits for the next reply.
  Reply reply();

 private:
  int socket_ = -1;
  std::vector<std::uint32_t> reading_;  // the sequence numbers of submits that read
};

// The bytes of a submit command without its outgoing data, and of an unlink command.
UsbipClient::Bytes usbipSubmit(std::uint32_t sequenceNumber, std::uint8_t address, std::uint32_t length,
                               const UsbipClient::Bytes& setup = UsbipClient::Bytes(8));
UsbipClient::Bytes usbipUnlink(std::uint32_t sequenceNumber, std::uint32_t target);
