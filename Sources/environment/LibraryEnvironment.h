#pragma once

#include <cstddef>

#include "Log.h"
#include "UsbStack.h"

// What the library takes from its surroundings, for as long as one of these exists: an environment for a
// program that wants the rows of a scan as they pass on the USB stack, and nothing that is made for a host of
// the plug-in. It changes four settings of the process, and no other code of a product changes any of them:
//
//   USB stack          the one given: drivers created from now on find their scanner there
//   log sink           the one given: the program keeps its standard error to itself
//   kept files         none: the dump of the stream and the TIFF have fixed names below /tmp, where everybody
//                      who shares the machine could read the page
//   raster allocation  always without memory: the library's copy of the picture, which a host would read, is
//                      of the size of a page and would be read by nobody. Its StartScan returns 1 therefore.
//
// The destructor brings back what the constructor found, in the reverse order; where no USB stack was chosen,
// the default one. One at a time per process: a second one throws std::logic_error and changes nothing, since
// two would undo each other where they do not end in reverse order. Does not create drivers and does not
// scan. One thread, the one that runs the library.
class LibraryEnvironment {
 public:
  // `stack` and `log` stay the caller's and outlive the object; the stack also outlives every driver that was
  // created on it. A null `log` drops every line unread, so that none costs more than a call.
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
