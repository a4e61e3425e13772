#include "LibraryEnvironment.h"

#include <stdexcept>

#include "ConversionEnvironment.h"
#include "FileKeeping.h"

namespace {

// Does not read the lines: formatting them takes longer than the scan on a fast scanner.
class DroppingSink final : public platform::LogSink {
 public:
  void line(const platform::LogLine& /*line*/) override {}
};

DroppingSink droppingSink;
bool placeTaken = false;

void* noMemory(std::size_t /*count*/, std::size_t /*size*/) {
  return nullptr;
}

}  // namespace

LibraryEnvironment::Place::Place() {
  if (placeTaken) throw std::logic_error("this process has a library environment already");
  placeTaken = true;
}

LibraryEnvironment::Place::~Place() {
  placeTaken = false;
}

LibraryEnvironment::LibraryEnvironment(platform::UsbStack& stack, platform::LogSink* log)
    : stackBefore_(platform::usbStack()),
      logBefore_(platform::chosenLogSink()),
      filesBefore_(platform::filesAreKept()),
      allocationBefore_(conversionEnvironment().allocateZeroed) {
  platform::useUsbStack(&stack);
  platform::useLogSink(log != nullptr ? log : &droppingSink);
  platform::keepFiles(false);
  conversionEnvironment().allocateZeroed = noMemory;
}

LibraryEnvironment::~LibraryEnvironment() {
  conversionEnvironment().allocateZeroed = allocationBefore_;
  platform::keepFiles(filesBefore_);
  platform::useLogSink(logBefore_);
  platform::useUsbStack(&stackBefore_);
}
