#pragma once

#include <sane/sane.h>

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "DebugOutput.h"
#include "SaneHandle.h"
#include "ScannerList.h"

namespace frontend {

// The state from sane_init to sane_exit: the current list of scanners and the open handles. Does not scan.
// Starts no thread. Any thread; nothing throws but std::bad_alloc.
class SaneBackEnd {
 public:
  // Reads the environment. The configuration is read whenever it is needed, so that changes take
  // effect at once.
  SaneBackEnd();
  // Closes the open handles.
  ~SaneBackEnd();
  SaneBackEnd(const SaneBackEnd&) = delete;
  SaneBackEnd& operator=(const SaneBackEnd&) = delete;

  // The scanners that are connected now, terminated by null; valid until the next call. All are local. Blocks
  // as ScannerSearch::run() does; without USB there is no real one in the list.
  const SANE_Device** devices();

  // Opens the scanner of this name, or the first one if the name is empty, without touching the device.
  // Unless it is the virtual one, blocks as devices() does. INVAL: there is no such scanner; DEVICE_BUSY:
  // this process has it open; ACCESS_DENIED: this user has no permission; IO_ERROR, NO_MEM: it cannot be
  // determined whether there is one.
  SANE_Status open(std::string_view name, SaneHandle** handle);
  // Waits for the end of its scan, up to two seconds. Ignores a handle that is not open.
  void close(SaneHandle* handle);

  const DebugOutput& debug() const { return debug_; }

 private:
  // Those that are connected now; all that matter if one of this name is wanted. Takes a while: call it
  // without the lock.
  ScannerList scanners(std::string_view wanted = {}) const;

  const DebugOutput debug_;
  std::mutex mutex_;  // guards all members below
  std::vector<ScannerEntry> listed_;
  std::vector<SANE_Device> devices_;
  std::vector<const SANE_Device*> devicePointers_;
  std::vector<std::unique_ptr<SaneHandle>> handles_;
};

}  // namespace frontend
