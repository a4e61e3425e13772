#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "EsclJobState.h"

// What a job does with every request, in every phase. A table and nothing else: PageJob.h acts on it.
namespace frontend::share {

// The states of a job; the completed state is divided in two by what happened to the page.
enum class JobPhase : std::uint8_t {
  pending,     // the scanner warms up
  processing,  // rows arrive
  ready,       // completed; the page is stored and no client has received all of it
  spent,       // completed; the page was delivered, or thrown away at the client's request
  canceled,
  aborted,
};
inline constexpr std::size_t jobPhaseCount = 6;

// The requests of clients to a job, and other events.
enum class JobRequest : std::uint8_t {
  nextDocument,  // GET ScanJobs/ID/NextDocument
  imageInfo,     // GET ScanJobs/ID/ScanImageInfo
  remove,        // DELETE ScanJobs/ID
  newJob,        // POST ScanJobs, for another page
  status,        // GET ScannerStatus, which lists the job
  clientLeft,    // the last connection that waited for the page, or received it, was closed
  unclaimed,     // no client has requested the page for a minute
};
inline constexpr std::size_t jobRequestCount = 7;

enum class JobResponse : std::uint8_t {
  hold,        // keep the request open until the first row, then as for `page`
  page,        // 200 and the page, as far as it is encoded and while it grows
  info,        // 200 and the size of the picture
  noDocument,  // 404: no page yet, or no more
  gone,        // 410
  failure,     // 500 and the sentence that explains it
  cancel,      // end the scan and every open NextDocument at once; 200 if a client requested it
  cancelSoon,  // the same after a moment in which the client may request the page again
  discard,     // 200; throw the page away
  accept,      // 200; there is nothing left to do
  busy,        // 503: one scanner, one page at a time
  start,       // 201: this job does not prevent another
  report,      // list the job with its state
  nothing,
};

namespace jobtable {

using enum JobResponse;

// A complete page survives the loss of its client: it can be sent again without another scan. A client that
// leaves while rows arrive has given the page up, unless it returns at once.
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
