#pragma once

namespace frontend {

// The worker: takes one request from the connection `control` to a front end, scans, and sends the picture's
// bytes into the pipe `image`, which becomes its own. Answers the process's exit status: 0 however the scan
// ended, 2 where there is no request that it understands.
int runWorker(int control, int image);

}  // namespace frontend
