#include "WorkerEnd.h"

#include "WorkerMessages.h"

namespace frontend {

ScanOutcome outcomeOfEnd(const WorkerProcess& worker, const std::string& program) {
  if (worker.neverRan()) return outcome::workerDidNotRun(program);
  if (worker.exitStatus() == workerNoMemoryStatus) return outcome::noMemory();
  if (worker.wasKilled()) return outcome::workerKilled();
  const std::string how = worker.howItEnded();
  return outcome::workerDied(how.empty() ? "for an unknown reason" : how);
}

}  // namespace frontend
