#pragma once

#include <cstddef>
#include <cstdint>

#include "Cancellation.h"
#include "OwnedDescriptor.h"
#include "ThreadActivity.h"

namespace frontend {

// The pipe that carries the rows to the front end. A front end that does not read holds up the scan, which
// holds up the scanner; nothing is lost. By the scanning thread alone.
class ImagePipe {
 public:
  // Takes the descriptor. `wakeUp` becomes readable when `cancel` is requested; it, the flag and the activity
  // outlive the object.
  ImagePipe(int descriptor, int wakeUp, const Cancellation& cancel, ThreadActivity& activity);

  // Blocks until the pipe has taken all of them. False if they are no longer wanted: the scan is cancelled,
  // or the reader has exited.
  bool write(const std::uint8_t* bytes, std::size_t count);
  // Ends the picture for its reader.
  void close() { pipe_.reset(); }

 private:
  bool awaitRoom();

  platform::OwnedDescriptor pipe_;
  int wakeUp_;
  const Cancellation& cancel_;
  ThreadActivity& activity_;
};

}  // namespace frontend
