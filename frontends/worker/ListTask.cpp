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

// Not by a thread: starting one takes as long as the list. The front end kills a worker that hangs; this is
// for one whose front end is gone.
void endByItself() {
  alarm(static_cast<unsigned>(std::chrono::seconds(workertimes::longestList).count()));
}

}  // namespace frontend
