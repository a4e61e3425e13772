#include <cstdint>
#include <string>
#include <vector>

#include "DeviceHost.h"
#include "OutputFolder.h"
#include "UsbipConnection.h"
#include "UsbipFormat.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using namespace virtualscanner;

void add32(Bytes& to, std::uint32_t value) {
  for (const int shift : {24, 16, 8, 0}) to.push_back(static_cast<std::uint8_t>(value >> shift));
}

Bytes operation(std::uint16_t code, const std::string& busId) {
  Bytes bytes;
  add32(bytes, std::uint32_t{usbip::protocolVersion} << 16 | code);
  add32(bytes, 0);
  bytes.insert(bytes.end(), busId.begin(), busId.end());
  if (!busId.empty()) bytes.resize(usbip::importRequestSize);
  return bytes;
}

// What a client sends and what it is sent, of one connection.
class Client {
 public:
  explicit Client(VirtualScanner& scanner) : port_(scanner), connection_(port_) {}

  Bytes answer(const Bytes& bytes) {
    sent.insert(sent.end(), bytes.begin(), bytes.end());
    connection_.receive(bytes);
    Bytes all;
    while (!connection_.output().empty()) {
      const auto some = connection_.output();
      all.insert(all.end(), some.begin(), some.end());
      connection_.sent(some.size());
    }
    received.insert(received.end(), all.begin(), all.end());
    return all;
  }

  Transfer transfer(std::uint8_t address, const std::uint8_t* bytes, std::uint8_t* buffer,
                    std::size_t count) {
    Bytes command;
    for (const std::uint32_t field : {std::uint32_t{usbip::commandSubmit}, ++sequenceNumber_, usbip::deviceId,
                                      std::uint32_t{address} >> 7, std::uint32_t{address} & 15, 0U,
                                      static_cast<std::uint32_t>(count), 0U, usbip::noPackets, 0U, 0U, 0U})
      add32(command, field);
    if (bytes != nullptr) command.insert(command.end(), bytes, bytes + count);
    const Bytes reply = answer(command);
    if (reply.empty()) {  // the device has nothing to say: the client takes the request back
      Bytes unlink;
      for (const std::uint32_t field : {std::uint32_t{usbip::commandUnlink}, sequenceNumber_ + 1,
                                        usbip::deviceId, 0U, 0U, sequenceNumber_, 0U, 0U, 0U, 0U, 0U, 0U})
        add32(unlink, field);
      ++sequenceNumber_;
      answer(unlink);
      return {.status = TransferStatus::silent};
    }
    const std::size_t moved = usbip::read32(&reply[24]);
    if (buffer != nullptr) std::copy_n(reply.begin() + usbip::commandHeaderSize, moved, buffer);
    return {.status = TransferStatus::done, .moved = moved, .ended = true};
  }

  Bytes sent;
  Bytes received;

 private:
  UsbipPort port_;
  UsbipConnection connection_;
  std::uint32_t sequenceNumber_ = 0;
};

}  // namespace

// A whole conversation: the list of devices, the import, descriptors, and a job.
void writeWire(const OutputFolder& folder) {
  Bytes sent;
  Bytes received;
  for (const bool alternateSettings : {false, true}) {
    ScannerOptions options;
    options.alternateSettings = alternateSettings;
    VirtualScanner scanner(Paper::testChart(), options);
    for (const bool list : {true, false}) {
      Client client(scanner);
      client.answer(list ? operation(usbip::requestDevices, "")
                         : operation(usbip::requestImport, usbip::deviceBusId));
      if (!list) {
        DeviceHost host({[&](std::uint8_t address, const std::uint8_t* bytes, std::size_t count) {
                           return client.transfer(address, bytes, nullptr, count);
                         },
                         [&](std::uint8_t address, std::uint8_t* buffer, std::size_t capacity) {
                           return client.transfer(address, nullptr, buffer, capacity);
                         }});
        if (alternateSettings) scanner.control(platform::usb::selectSetting(0, 1), nullptr);
        host.startJob({75, true, 30, 40, 61, 47});
        host.readStream(777);
        host.exit();
      }
      sent.insert(sent.end(), client.sent.begin(), client.sent.end());
      received.insert(received.end(), client.received.begin(), client.received.end());
    }
    const std::vector<std::uint8_t>& device = scanner.deviceDescriptor();
    const std::vector<std::uint8_t>& configuration = scanner.configurationDescriptor();
    const std::string name = alternateSettings ? "descriptors-alternate.bin" : "descriptors.bin";
    Bytes descriptors = device;
    descriptors.insert(descriptors.end(), configuration.begin(), configuration.end());
    folder.write(name, descriptors.data(), descriptors.size());
  }
  folder.write("usbip-sent.bin", sent.data(), sent.size());
  folder.write("usbip-received.bin", received.data(), received.size());
}
