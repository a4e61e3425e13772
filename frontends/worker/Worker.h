#pragma once

namespace frontend {

// The worker: receives one task on `control`, the connection to a front end, and confines the process to what
// that task needs (WorkerNeeds.h) before it reads a byte of a scanner or of a user's file. Then it lists the
// scanners (ListTask.h), or scans and writes the rows of the picture to the pipe `image`. Closes the pipe.
// Blocks until the scanner is closed again; once per process, since the library leaves its driver behind.
// Returns the exit status of the process: 0 however the task ended, 2 where there is none that it
// understands. Throws std::system_error where no thread can be started, and std::bad_alloc.
int runWorker(int control, int image);

}  // namespace frontend
