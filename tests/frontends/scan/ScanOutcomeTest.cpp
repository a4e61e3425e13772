#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "ScanOutcome.h"

namespace {

using namespace frontend;
using testing::HasSubstr;
using testing::Not;

// Why a worker was not started, and what the user is advised to do.
struct Refusal {
  int error;
  ScanStatus status;
  const char* advice;
};

TEST(ScanOutcome, AdvisesToReinstallOnlyWhereThatHelps) {
  constexpr char path[] = "/usr/libexec/q750-worker";
  for (const auto& [error, status, advice] : {Refusal{EAGAIN, ScanStatus::ioError, "Too many processes"},
                                              Refusal{EMFILE, ScanStatus::ioError, "Close other files"},
                                              Refusal{ENFILE, ScanStatus::ioError, "Close other files"},
                                              Refusal{ENOMEM, ScanStatus::noMemory, "not enough memory"}}) {
    const ScanOutcome outcome = outcome::workerNotStarted(path, error);
    EXPECT_EQ(outcome.status, status) << error;
    EXPECT_THAT(outcome.sentence, HasSubstr(advice));
    EXPECT_THAT(outcome.sentence, Not(HasSubstr("einstall")));
  }
  EXPECT_EQ(
      outcome::workerNotStarted(path, ENOENT).sentence,
      "The scanning program could not be started (/usr/libexec/q750-worker: No such file or directory). "
      "Reinstall this software.");
}

TEST(ScanOutcome, DistinguishesSilenceFromAPictureThatStops) {
  EXPECT_EQ(outcome::silent(1000).sentence,
            "The scanner accepted the job but sent no data for 1 second. Switch the scanner off and on, then "
            "scan again.");
  EXPECT_EQ(outcome::stopped(105, 211, 30000).sentence,
            "The scanner stopped in the middle of the picture: 105 of 211 rows arrived, then no data for 30 "
            "seconds. "
            "Switch the scanner off and on, then scan again.");
}

}  // namespace
