#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "ScannerOptions.h"
#include "UsbStack.h"

// A USB stack with one Q750 plugged in, whatever it is made of: what a test of any stack needs of the world
// around it. Pipe 1 takes requests, pipe 2 gives replies, pipe 3 gives the data of a page.
class World {
 public:
  virtual ~World() = default;

  virtual platform::UsbStack& stack() = 0;
  // From the next transfer on, the data pipe has these bytes to give, which it answers: a page's worth, in
  // transfers as the options have it.
  virtual std::vector<std::uint8_t> startStream() = 0;
  // The next transfer, on this pipe, meets a halted one.
  virtual void haltNext(std::uint8_t pipe) = 0;
  virtual void unplug() = 0;
  virtual void plugIn() = 0;
  // Whether the device took just this call.
  virtual bool heard(const std::vector<std::uint8_t>& packet) = 0;
  // Whether the host left something with the stack that it should have given back.
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
// Those in which a device really answers, rather than a script.
std::vector<WorldKind> worldsWithADevice();

// The one call that the tests write: the bytes of system.exitHostUSBSendMode.
std::vector<std::uint8_t> exitCall();
