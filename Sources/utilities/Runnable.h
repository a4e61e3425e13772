#pragma once

#include <cstdint>

/// Work for a separate thread, which owns the object once start() has succeeded and deletes it when run()
/// returns. So it must be allocated with new, and the code that started it must not use it any more. There is
/// no way to wait for the end of the work or to stop it.
class Runnable {
 public:
  /// Runs on the new thread once the work is done.
  virtual ~Runnable() = default;

  /// The work, called once on the new thread; the base does nothing and returns 0. The result is ignored. An
  /// exception that leaves it ends the process, as in any thread.
  virtual std::int32_t run();

  /// Runs the object on a new detached thread. Returns 0, or the error number of pthread_create(): then
  /// there is no thread and the caller keeps the object. After 0 the thread owns it and may have deleted it
  /// before this returns.
  int start();
};

/// The body of that thread: runs the object, deletes it and returns null.
void* runfunction(Runnable* runnable);
