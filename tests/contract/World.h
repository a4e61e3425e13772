#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "ScannerOptions.h"
#include "UsbStack.h"

// A USB stack with one Q750 plugged in, and the control over the device that the tests of any stack need.
// Pipe 1 takes requests, pipe 2 returns replies, pipe 3 the data of a page. Each owns its stack and device;
// one thread. Functions report failures only as failed expectations, and none blocks for longer than the
// stack takes to detect the change.
class World {
 public:
  virtual ~World() = default;

  // The stack under test, which exists for as long as the world.
  virtual platform::UsbStack& stack() = 0;
  // Makes the device stream a page on the data pipe, in transfers as the options say, and returns the bytes
  // of the stream.
  virtual std::vector<std::uint8_t> startStream() = 0;
  // Halts this pipe at the next transfer, which is to be on it.
  virtual void haltNext(std::uint8_t pipe) = 0;
  // Unplugs the device, or plugs it in again as a newly powered one.
  virtual void unplug() = 0;
  virtual void plugIn() = 0;
  // Whether this packet is the one call that the device received.
  virtual bool received(const std::vector<std::uint8_t>& packet) = 0;
  // Whether the host has released everything to the stack.
  virtual bool isTidy() = 0;
};

// The kinds of world, by the stack in it.
struct WorldKind {
  const char* name;
  std::function<std::unique_ptr<World>(const virtualscanner::ScannerOptions& options)> make;
};
inline void PrintTo(const WorldKind& kind, std::ostream* out) {
  *out << kind.name;
}
std::vector<WorldKind> allWorlds();
// The kinds with a device model rather than a script behind the stack.
std::vector<WorldKind> worldsWithADevice();

// The only call that the tests write: the packet of system.exitHostUSBSendMode.
std::vector<std::uint8_t> exitCall();
