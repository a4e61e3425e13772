#include <new>

#include "LibusbStack.h"
#include "UsbStack.h"

// Hosts that load the library cannot choose its USB stack: it is always that of the running system.
namespace {

// Never destroyed: a host may leave its scanner open until the process has ended.
platform::UsbStack& systemUsbStack() {
  alignas(platform::LibusbStack) static unsigned char memory[sizeof(platform::LibusbStack)];
  static auto* const stack = new (memory) platform::LibusbStack;
  return *stack;
}

struct Registration {
  Registration() { platform::useDefaultUsbStack(&systemUsbStack); }
};
const Registration registration;

}  // namespace
