#include <gtest/gtest.h>

#include "SaneStatus.h"

namespace {

using namespace frontend;

TEST(SaneStatus, OfEveryOutcomeIsTheOneThatFitsBest) {
  EXPECT_EQ(saneStatusOf(ScanStatus::good), SANE_STATUS_EOF);
  EXPECT_EQ(saneStatusOf(ScanStatus::cancelled), SANE_STATUS_CANCELLED);
  EXPECT_EQ(saneStatusOf(ScanStatus::noDevice), SANE_STATUS_IO_ERROR);
  EXPECT_EQ(saneStatusOf(ScanStatus::busy), SANE_STATUS_DEVICE_BUSY);
  EXPECT_EQ(saneStatusOf(ScanStatus::accessDenied), SANE_STATUS_ACCESS_DENIED);
  EXPECT_EQ(saneStatusOf(ScanStatus::timedOut), SANE_STATUS_IO_ERROR);
  EXPECT_EQ(saneStatusOf(ScanStatus::badData), SANE_STATUS_IO_ERROR);
  EXPECT_EQ(saneStatusOf(ScanStatus::ioError), SANE_STATUS_IO_ERROR);
  EXPECT_EQ(saneStatusOf(ScanStatus::refused), SANE_STATUS_IO_ERROR);
  EXPECT_EQ(saneStatusOf(ScanStatus::noMemory), SANE_STATUS_NO_MEM);
}

}  // namespace
