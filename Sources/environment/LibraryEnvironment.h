#pragma once

#include <cstddef>

#include "Log.h"
#include "UsbStack.h"

// Sets the external resources that the library uses, for as long as the object exists: for a program that
// reads the rows of a scan as they pass through the USB stack and needs nothing that is provided for hosts of
// the plug-in. It changes four settings of the process, which no other code of the product changes:
//
//   USB stack          the one given: drivers created from now on find their scanner there
//   log sink           the one given: the program keeps its standard error to itself
//   kept files         none: the dump of the stream and the TIFF have fixed names below /tmp, where every
//                      user of the machine could read the page
//   raster allocation  always fails: the library's copy of the picture, which a host would read, takes as
//                      much memory as a page and is not needed here. StartScan therefore returns 1.
//
// The destructor restores what the constructor found, in the reverse order; if no USB stack had been chosen,
// the default one. One at a time per process: a second one throws std::logic_error and changes nothing, since
// two that are not destroyed in reverse order would undo each other's settings. Does not create drivers and
// does not scan. One thread, the one that runs the library.
class LibraryEnvironment {
 public:
  // `stack` and `log` are owned by the caller and outlive the object; the stack also outlives every driver
  // that was created on it. With a null `log`, lines are dropped unformatted, at the cost of a call each.
  LibraryEnvironment(platform::UsbStack& stack, platform::LogSink* log);
  ~LibraryEnvironment();
  LibraryEnvironment(const LibraryEnvironment&) = delete;
  LibraryEnvironment& operator=(const LibraryEnvironment&) = delete;

 private:
  // One per process.
  class Place {
   public:
    Place();
    ~Place();
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
  };

  Place place_;  // first: where it throws, nothing has changed
  platform::UsbStack& stackBefore_;
  platform::LogSink* logBefore_;  // null for standard error
  bool filesBefore_;
  void* (*allocationBefore_)(std::size_t count, std::size_t size);
};
