#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "MapElem.h"
#include "VirtualScanner.h"

// The host's side of the conversation with a virtual scanner, without the driver:
//
//   DeviceHost host(scanner);
//   EXPECT_EQ(host.call("system", "enterHostUSBSendMode", {host.tree(request)}), "response 0");
//   host.startJob(request);
//   auto stream = host.readStream();
class DeviceHost {
 public:
  // The connection to the device: one transfer per call, as by VirtualScanner::write() and read().
  struct Pipes {
    std::function<virtualscanner::Transfer(std::uint8_t address, const std::uint8_t* bytes,
                                           std::size_t count)>
        write;
    std::function<virtualscanner::Transfer(std::uint8_t address, std::uint8_t* buffer, std::size_t capacity)>
        read;
  };
  explicit DeviceHost(Pipes pipes) : pipes_(std::move(pipes)) {}
  // Directly to the model.
  explicit DeviceHost(virtualscanner::VirtualScanner& scanner);

  // The elements of a parameter list.
  enum class Parameter { tree, kind, wrongKind };

  // Frames and writes one call, reads the reply and summarises it: "response " and the result's text,
  // "exception", or "none".
  std::string call(const std::string& object, const std::string& method,
                   const std::vector<Parameter>& parameters = {});
  std::string enter() { return call("system", "enterHostUSBSendMode", {Parameter::tree}); }
  std::string create() { return call("jobFactory", "create", {Parameter::kind, Parameter::tree}); }
  std::string exit() { return call("system", "exitHostUSBSendMode"); }
  // Enter, create and start. False if one of them is refused.
  bool startJob(const virtualscanner::PageRequest& request);
  std::string jobName() const { return jobName_; }

  // The whole text of the last reply.
  const std::string& lastReply() const { return lastReply_; }
  std::string takeReply();

  virtualscanner::Transfer write(const std::vector<std::uint8_t>& bytes);
  // One call as the host frames it.
  std::vector<std::uint8_t> framed(const std::string& object, const std::string& method,
                                   const std::vector<Parameter>& parameters);
  virtualscanner::Transfer readData(std::size_t capacity);
  // Reads until the device is silent; the bytes of all reads.
  std::vector<std::uint8_t> readStream(std::size_t capacity = 102400);

  // For the trees of the calls from now on.
  virtualscanner::PageRequest request{75, true, 0, 0, 20, 10};
  int requestId = 17;

 private:
  Pipes pipes_;
  std::string jobName_;
  std::string lastReply_;
};

// One control packet with this payload.
std::vector<std::uint8_t> controlPacket(std::string_view text);
// The parameter tree of a job as the driver builds it.
std::unique_ptr<MapElem> parameterTree(const virtualscanner::PageRequest& request);

// The image bytes of a stream of packets; fails the test if it is not a complete stream of one job.
std::vector<std::uint8_t> imageOf(const std::vector<std::uint8_t>& stream);
// The type bytes of the packets of a stream.
std::vector<std::uint8_t> packetTypesOf(const std::vector<std::uint8_t>& stream);
// Header and pixels that a scan of this paper has to deliver, one pixel at a time.
std::vector<std::uint8_t> expectedImage(const virtualscanner::Paper& paper,
                                        const virtualscanner::PageRequest& request);
