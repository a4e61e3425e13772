#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "EsclJobState.h"

// What a job does with every request, in every phase. A table and nothing else: PageJob.h acts on it.
namespace frontend::share {

// The states of a job, where what became of its page makes two of the completed one.
enum class JobPhase : std::uint8_t {
  pending,     // the scanner warms up
  processing,  // rows arrive
  ready,       // completed; the page is stored and no client has received all of it
  spent,       // completed; the page was delivered, or thrown away at the client's request
  canceled,
  aborted,
};
inline constexpr std::size_t jobPhaseCount = 6;

// What clients ask of a job, and what happens to them.
enum class JobRequest : std::uint8_t {
  nextDocument,  // GET ScanJobs/ID/NextDocument
  imageInfo,     // GET ScanJobs/ID/ScanImageInfo
  remove,        // DELETE ScanJobs/ID
  newJob,        // POST ScanJobs, for another page
  status,        // GET ScannerStatus, which lists the job
  clientLeft,    // the last connection that waited for the page, or received it, was closed
  unclaimed,     // nobody has asked for the page for a minute
};
inline constexpr std::size_t jobRequestCount = 7;

enum class JobResponse : std::uint8_t {
  hold,        // keep the request open until the first row, then as for `page`
  page,        // 200 and the page, as far as it is encoded and while it grows
  info,        // 200 and the size of the picture
  noDocument,  // 404: no page yet, or no more
  gone,        // 410
  failure,     // 500 and the sentence that explains it
  cancel,      // end the scan and every open NextDocument at once; 200 if a client asked for it
  cancelSoon,  // the same after a moment in which the client may ask for the page again
  discard,     // 200; throw the page away
  accept,      // 200; there is nothing left to do
  busy,        // 503: one scanner, one page at a time
  start,       // 201: this job is in nobody's way
  report,      // list the job with its state
  nothing,
};

namespace jobtable {

using enum JobResponse;

// A page that is complete survives the loss of its client: it is sent again without moving the lamp. While
// rows arrive, a client that leaves has given the page up, unless it is back at once.
// clang-format off
inline constexpr std::array<std::array<JobResponse, jobPhaseCount>, jobRequestCount> responses = {{
    // pending     processing  ready    spent       canceled  aborted
    {{ hold,       page,       page,    noDocument, gone,     failure }},  // nextDocument
    {{ noDocument, info,       info,    info,       gone,     failure }},  // imageInfo
    {{ cancel,     cancel,     discard, discard,    accept,   accept  }},  // remove
    {{ busy,       busy,       start,   start,      start,    start   }},  // newJob
    {{ report,     report,     report,  report,     report,   report  }},  // status
    {{ cancel,     cancelSoon, nothing, nothing,    nothing,  nothing }},  // clientLeft
    {{ cancel,     cancel,     nothing, nothing,    nothing,  nothing }},  // unclaimed
}};
// clang-format on

// As ScannerStatus reports the phases.
inline constexpr std::array<JobState, jobPhaseCount> states = {JobState::pending,   JobState::processing,
                                                               JobState::completed, JobState::completed,
                                                               JobState::canceled,  JobState::aborted};

}  // namespace jobtable

constexpr JobResponse responseOf(JobPhase phase, JobRequest request) {
  return jobtable::responses[static_cast<std::size_t>(request)][static_cast<std::size_t>(phase)];
}

constexpr JobState stateOf(JobPhase phase) {
  return jobtable::states[static_cast<std::size_t>(phase)];
}

}  // namespace frontend::share
