#include <gtest/gtest.h>

#include "LibusbStatus.h"

namespace {

using namespace platform;

struct ErrorRow {
  int error;
  IOReturn status;
};

class StatusOfLibusbError : public testing::TestWithParam<ErrorRow> {};

TEST_P(StatusOfLibusbError, IsOneOfThePlatformsOwn) {
  EXPECT_EQ(statusOfLibusbError(GetParam().error), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(Rows, StatusOfLibusbError,
                         testing::Values(ErrorRow{LIBUSB_SUCCESS, kIOReturnSuccess},
                                         ErrorRow{18, kIOReturnSuccess},
                                         ErrorRow{LIBUSB_ERROR_IO, kIOReturnIOError},
                                         ErrorRow{LIBUSB_ERROR_INVALID_PARAM, kIOReturnBadArgument},
                                         ErrorRow{LIBUSB_ERROR_ACCESS, kIOReturnNotPermitted},
                                         ErrorRow{LIBUSB_ERROR_NO_DEVICE, kIOReturnNoDevice},
                                         ErrorRow{LIBUSB_ERROR_NOT_FOUND, kIOReturnNotFound},
                                         ErrorRow{LIBUSB_ERROR_BUSY, kIOReturnExclusiveAccess},
                                         ErrorRow{LIBUSB_ERROR_TIMEOUT, kIOUSBTransactionTimeout},
                                         ErrorRow{LIBUSB_ERROR_OVERFLOW, kIOReturnOverrun},
                                         ErrorRow{LIBUSB_ERROR_PIPE, kIOUSBPipeStalled},
                                         ErrorRow{LIBUSB_ERROR_INTERRUPTED, kIOReturnAborted},
                                         ErrorRow{LIBUSB_ERROR_NO_MEM, kIOReturnNoMemory},
                                         ErrorRow{LIBUSB_ERROR_NOT_SUPPORTED, kIOReturnUnsupported},
                                         ErrorRow{LIBUSB_ERROR_OTHER, kIOReturnError},
                                         ErrorRow{-1234, kIOReturnError}),
                         [](const auto& row) {
                           return row.param.error < 0 ? "minus" + std::to_string(-row.param.error)
                                                      : std::to_string(row.param.error);
                         });

struct TransferRow {
  libusb_transfer_status ended;
  IOReturn status;
};

class StatusOfLibusbTransfer : public testing::TestWithParam<TransferRow> {};

TEST_P(StatusOfLibusbTransfer, IsOneOfThePlatformsOwn) {
  EXPECT_EQ(statusOfLibusbTransfer(GetParam().ended), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(Rows, StatusOfLibusbTransfer,
                         testing::Values(TransferRow{LIBUSB_TRANSFER_COMPLETED, kIOReturnSuccess},
                                         TransferRow{LIBUSB_TRANSFER_ERROR, kIOReturnIOError},
                                         TransferRow{LIBUSB_TRANSFER_TIMED_OUT, kIOUSBTransactionTimeout},
                                         TransferRow{LIBUSB_TRANSFER_CANCELLED, kIOReturnAborted},
                                         TransferRow{LIBUSB_TRANSFER_STALL, kIOUSBPipeStalled},
                                         TransferRow{LIBUSB_TRANSFER_NO_DEVICE, kIOReturnNoDevice},
                                         TransferRow{LIBUSB_TRANSFER_OVERFLOW, kIOReturnOverrun}),
                         [](const auto& row) { return "ended" + std::to_string(row.param.ended); });

}  // namespace
