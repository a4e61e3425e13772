#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "EsclJobState.h"
#include "ScanOutcome.h"

// How the end of a scan is reported to clients: one row for each outcome, sent with its sentence.
namespace frontend::share {

struct OutcomeCode {
  ScanStatus status;
  // Of POST, for an outcome that is known before the response is sent. 503 is for conditions that pass or
  // that the user can end: clients retry. With 201 the job reports its end.
  unsigned whenPosted;
  // Of NextDocument, before the first byte of the page; later the connection is aborted. Never 503: this job
  // has ended, and clients would request its page for ever.
  unsigned whenFetched;
  JobState state;
  std::string_view reason;  // of the state, in the words of eSCL
};

// In the order of ScanStatus.
inline constexpr std::array<OutcomeCode, 10> outcomeCodes = {{
    {ScanStatus::good, 201, 200, JobState::completed, "JobCompletedSuccessfully"},
    {ScanStatus::cancelled, 201, 410, JobState::canceled, "JobCanceledByUser"},
    {ScanStatus::noDevice, 503, 500, JobState::aborted, "ServiceOffLine"},
    {ScanStatus::busy, 503, 500, JobState::aborted, "ResourcesAreNotReady"},
    {ScanStatus::accessDenied, 503, 500, JobState::aborted, "ServiceOffLine"},
    {ScanStatus::timedOut, 201, 500, JobState::aborted, "AbortedBySystem"},
    {ScanStatus::badData, 201, 500, JobState::aborted, "ErrorsDetected"},
    {ScanStatus::ioError, 201, 500, JobState::aborted, "ErrorsDetected"},
    {ScanStatus::refused, 201, 500, JobState::aborted, "AbortedBySystem"},
    {ScanStatus::noMemory, 201, 500, JobState::aborted, "AbortedBySystem"},
}};

constexpr const OutcomeCode& codeOf(ScanStatus status) {
  return outcomeCodes[static_cast<std::size_t>(status)];
}

}  // namespace frontend::share
