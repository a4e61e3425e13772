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

// What lives from sane_init to sane_exit: the list of scanners of the moment, and the open
// handles. Starts no thread. Any thread; nothing throws but std::bad_alloc.
class SaneBackEnd {
 public:
  // Reads the environment. The configuration is read when it is needed, so that a change counts at once.
  SaneBackEnd();
  // Closes what is still open.
  ~SaneBackEnd();
  SaneBackEnd(const SaneBackEnd&) = delete;
  SaneBackEnd& operator=(const SaneBackEnd&) = delete;

  // The scanners there are now, ended by null; valid until the next call. All of them are local.
  const SANE_Device** devices();

  // An empty name is the first scanner. INVAL: there is none of that name; DEVICE_BUSY: it is open here;
  // ACCESS_DENIED: the system does not let this user have it. The device itself is not touched.
  SANE_Status open(std::string_view name, SaneHandle** handle);
  // A handle that is not open is left alone.
  void close(SaneHandle* handle);

  const DebugOutput& debug() const { return debug_; }

 private:
  std::vector<ScannerEntry> scanners() const;

  const DebugOutput debug_;
  std::mutex mutex_;  // of what follows
  std::vector<ScannerEntry> listed_;
  std::vector<SANE_Device> devices_;
  std::vector<const SANE_Device*> devicePointers_;
  std::vector<std::unique_ptr<SaneHandle>> handles_;
};

}  // namespace frontend
