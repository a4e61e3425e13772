#include "ListTask.h"

#include <unistd.h>

#include "LibusbDevices.h"
#include "WorkerTimes.h"

namespace frontend {

void listScanners(ReportChannel& reports) {
  platform::LibusbDevices usb;
  const platform::LibusbDevices::List list = usb.attached();
  if (list.failure.empty()) {
    reports.send(list.devices);
  } else {
    reports.send(outcome::noUsb(list.failure));
  }
}

// An alarm and not a thread, which takes as long to start as the list. The front end kills a worker that
// hangs; this ends one whose front end has exited.
void endByItself() {
  alarm(static_cast<unsigned>(std::chrono::seconds(workertimes::longestList).count()));
}

}  // namespace frontend
