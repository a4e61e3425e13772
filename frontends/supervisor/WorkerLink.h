#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "OwnedDescriptor.h"

namespace frontend {

// The descriptors between a front end and its worker, and those that a front end waits with. All of them are
// closed in programs that the application starts, and none is a standard one, not even where those are
// closed. One thread, but for cancel().
class WorkerLink {
 public:
  // Answers an error number, 0 for success. Once per object.
  int open();

  // The worker's ends, until they are closed here.
  int workerControl() const { return workerControl_.get(); }
  int workerImage() const { return workerImage_.get(); }
  void closeWorkerEnds();

  int control() const { return control_.get(); }
  int image() const { return image_.get(); }
  // Readable when there are bytes of the picture, or their end, or a cancel, or the time is up.
  int descriptor() const { return ready_.get(); }
  // Makes it readable for good.
  void markEnd() noexcept;
  // Tells the worker, and marks the end. From any thread and from a signal handler.
  void cancel() noexcept;

  // Counts anew the time that may pass without a sign of the worker.
  void expectSign(std::chrono::milliseconds within);
  bool timeIsUp();

  // Blocks until the descriptor is readable; with `control` also for a message of the worker.
  void wait(bool control);

 private:
  platform::OwnedDescriptor control_;
  platform::OwnedDescriptor image_;
  platform::OwnedDescriptor workerControl_;
  platform::OwnedDescriptor workerImage_;
  platform::OwnedDescriptor end_;    // an event counter
  platform::OwnedDescriptor timer_;  // for a worker that gives no sign
  platform::OwnedDescriptor ready_;
};

}  // namespace frontend
