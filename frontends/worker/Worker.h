#pragma once

namespace frontend {

// The worker: receives one request on `control`, the connection to a front end, confines the process to what
// this scan needs (WorkerNeeds.h) before it reads a byte of a scanner or of a user's file, scans, and writes
// the rows of the picture to the pipe `image`, which it closes. Blocks until the scanner is closed again;
// once per process, since the library leaves its driver behind. Returns the exit status of the process: 0
// however the scan ended, 2 where there is no request that it understands. Throws std::system_error where no
// thread can be started, and std::bad_alloc.
int runWorker(int control, int image);

}  // namespace frontend
