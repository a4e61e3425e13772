#pragma once

#include <cstddef>
#include <cstdint>

#include "Cancellation.h"
#include "OwnedDescriptor.h"
#include "ThreadActivity.h"

namespace frontend {

// The way of the picture's bytes to the front end. A front end that does not read holds up the scan, which
// holds up the scanner; nothing is lost.
class ImagePipe {
 public:
  // The descriptor becomes this object's. `wakeUp` becomes readable when `cancel` is requested; both outlive
  // the object.
  ImagePipe(int descriptor, int wakeUp, const Cancellation& cancel, ThreadActivity& activity);

  // Blocks until the pipe has taken all of them. False where nobody wants them: cancelled, or the reader is
  // gone.
  bool write(const std::uint8_t* bytes, std::size_t count);
  // The end of the picture, for its reader.
  void close() { pipe_.reset(); }

 private:
  bool awaitRoom();

  platform::OwnedDescriptor pipe_;
  int wakeUp_;
  const Cancellation& cancel_;
  ThreadActivity& activity_;
};

}  // namespace frontend
