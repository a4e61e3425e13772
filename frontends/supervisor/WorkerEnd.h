#pragma once

#include <string>

#include "ScanOutcome.h"
#include "WorkerProcess.h"

namespace frontend {

// Why a worker, a process of `program` that has exited, has reported no outcome. Throws std::bad_alloc.
ScanOutcome outcomeOfEnd(const WorkerProcess& worker, const std::string& program);

}  // namespace frontend
