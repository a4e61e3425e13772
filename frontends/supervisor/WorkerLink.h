#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "OwnedDescriptor.h"

namespace frontend {

// The descriptors between a front end and its worker, and those that a front end waits with. All of them are
// closed in programs that the application starts, and none is a standard descriptor, not even if the
// application has closed those. One thread, except cancel().
class WorkerLink {
 public:
  // Returns an error number, 0 for success. Once per object.
  int open();

  // The worker's ends, until they are closed here.
  int workerControl() const { return workerControl_.get(); }
  int workerImage() const { return workerImage_.get(); }
  void closeWorkerEnds();

  // Sends the first message, and with it a descriptor, unless that is -1; both wait in the connection for the
  // worker. Returns an error number, 0 for success.
  int sendTask(std::string_view message, int descriptor = -1);

  int control() const { return control_.get(); }
  int image() const { return image_.get(); }
  // Readable when there are bytes of the picture, or their end, or a cancel, or the heartbeat
  // timer has expired.
  int descriptor() const { return ready_.get(); }
  // Makes it readable for good.
  void signalEnd() noexcept;
  // Sends a cancel to the worker and signals the end. From any thread and from a signal handler.
  void cancel() noexcept;

  // Starts the timer anew.
  void startHeartbeatTimer(std::chrono::milliseconds timeout);
  // Whether it has expired since it was started. True once for each start.
  bool heartbeatTimerExpired();

  // Blocks until the descriptor is readable; with `control` also until there is a message from the worker.
  void wait(bool control);
  // Blocks until there is a message from the worker or a cancel, at most this long, and returns whether there
  // is a message. Signals may end it early.
  bool awaitMessage(std::chrono::milliseconds timeout);

 private:
  platform::OwnedDescriptor control_;
  platform::OwnedDescriptor image_;
  platform::OwnedDescriptor workerControl_;
  platform::OwnedDescriptor workerImage_;
  platform::OwnedDescriptor end_;    // an event counter
  platform::OwnedDescriptor timer_;  // for a worker that sends no heartbeat
  platform::OwnedDescriptor ready_;
};

}  // namespace frontend
