#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "EsclJobState.h"

namespace frontend::share {

// What the scanner is doing, in the words of eSCL.
enum class ScannerState : std::uint8_t {
  idle,
  processing,  // for a job, or for another program
  down,        // unplugged
};

// A job as ScannerStatus reports it.
struct JobReport {
  std::string id;  // a UUID: the last part of the job's path
  JobState state = JobState::pending;
  std::string_view reason;      // of eSCL: "JobScanning", "JobCanceledByUser"; a constant
  std::chrono::seconds age{0};  // since the last change
  bool delivered = false;       // whether a client has received the whole page
  std::uint32_t retries = 0;    // how often the page was sent again
};

// The path of a job, as Location and ScannerStatus have it: "/eSCL/ScanJobs/ID".
std::string jobPath(std::string_view id);

// The ScannerStatus document; `jobs` as they shall appear, the newest first. Throws nothing but
// std::bad_alloc.
std::string statusDocument(ScannerState state, const std::vector<JobReport>& jobs);

}  // namespace frontend::share
