#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/prctl.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "DeviceIdentity.h"
#include "UsbCommandLine.h"

namespace {

using namespace virtualscanner;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using enum FaultKind;

TEST_F(UsbCommandLine, ListsTheScannerBeforeTheVirtualOne) {
  plugIn();
  const ProgramResult result = runProgram({"list"});
  EXPECT_EQ(result.output, "usb:1-1  Quenvar Q750\nvirtual  Quenvar Q750 (virtual)\n");
  EXPECT_EQ(result.errors, "");
}

// libusb then waits for its own thread forever.
TEST_F(UsbCommandLine, ListsTheScannerWhereUsbCannotBeReleased) {
  plugIn();
  setenv("LD_PRELOAD", "libumockdev-preload.so.0 " Q750_BROKEN_EVENTS, 1);
  const auto start = std::chrono::steady_clock::now();
  const ProgramResult result = runProgram({"list"});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(result.output, "usb:1-1  Quenvar Q750\nvirtual  Quenvar Q750 (virtual)\n");
  EXPECT_EQ(result.errors, "");
}

bool hasChild(pid_t process) {
  const std::string number = std::to_string(process);
  return !contentOf("/proc/" + number + "/task/" + number + "/children").empty();
}

TEST_F(UsbCommandLine, IsCancelledWhereUsbHangs) {
  setenv("LD_PRELOAD", Q750_HANGING_USB, 1);
  Pipe out, errors;
  const auto start = std::chrono::steady_clock::now();
  const pid_t process = startProgram({"scan", "-o", path}, out.writer(), errors.writer());
  errors.closeWriter();
  while (!hasChild(process)) std::this_thread::yield();  // which lists
  kill(process, SIGINT);
  EXPECT_EQ(readAll(errors.reader()), "q750: The scan was cancelled; nothing was saved.\n");
  EXPECT_EQ(waitFor(process), 130);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(UsbCommandLine, ScansFromTheVirtualScannerWhereUsbHangs) {
  setenv("LD_PRELOAD", Q750_HANGING_USB, 1);
  const ProgramResult result = scanUsb({"-d", "virtual"});
  EXPECT_EQ(result.exitCode, 0) << result.errors;
}

TEST_F(UsbCommandLine, ScansTheVeryPixelsOfTheVirtualScanner) {
  plugIn();
  for (const char* device : {"usb", "usb:1-1"}) {
    const ProgramResult result = scanUsb({"-d", device});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    const std::string real = contentOf(path);
    EXPECT_EQ(scanUsb({"-d", "virtual"}).exitCode, 0);
    EXPECT_TRUE(contentOf(path) == real);
    expectWholePage();
  }
}

TEST_F(UsbCommandLine, UsesTheRealScannerByDefault) {
  plugIn();
  const ProgramResult result = runProgram({"scan", "-o", path, "-m", "gray", "-r", "75", "-a", "0x0+9x9px",
                                           "--progress", "json", "--timeout", "1"});
  EXPECT_THAT(result.errors, StartsWith("{\"event\":\"scanner\",\"device\":\"usb:1-1\"}\n"));
  EXPECT_EQ(result.exitCode, 0) << result.errors;
}

TEST_F(UsbCommandLine, AsksWhichOfSeveralScannersIsMeant) {
  plugIn();
  usbfs_->addNeighbour(1, "2", platform::deviceVendorId, platform::deviceProductId);
  const ProgramResult result = scanUsb();
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(
      result.errors,
      "q750: There are several scanners:\nusb:1-1  Quenvar Q750\nusb:1-2  Quenvar Q750\nChoose one of them "
      "with --device NAME.\n");
  EXPECT_EQ(scanUsb({"-d", "usb:1-1"}).exitCode, 0);
}

TEST_F(UsbCommandLine, FindsTheScannerUnderItsNameAfterAReplug) {
  plugIn();
  usbfs_->unplug();
  EXPECT_THAT(scanUsb({"-d", "usb:1-1"}).errors, StartsWith("q750: --device usb:1-1: no such scanner."));
  usbfs_->plugIn();
  EXPECT_EQ(scanUsb({"-d", "usb:1-1"}).exitCode, 0);
  expectWholePage();
}

TEST_F(UsbCommandLine, SavesNothingWithoutAScanner) {
  plugIn();
  usbfs_->unplug();
  const ProgramResult result = scanUsb();
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_EQ(
      result.errors,
      "q750: No Quenvar Q750 is connected. Check its cable and its power. To scan from the virtual scanner "
      "instead, add --device virtual.\n");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST_F(UsbCommandLine, ReportsThatAnotherProgramUsesTheScanner) {
  plugIn({.inUse = true});
  const ProgramResult result = scanUsb();
  EXPECT_EQ(result.exitCode, 3) << result.errors;
  EXPECT_THAT(folder.names(), IsEmpty());
}

// Root bypasses file permissions by two capabilities; without them the device node is inaccessible.
void giveUpRightToAnyFile() {
  if (geteuid() != 0) return;
  for (const int right : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH})
    if (prctl(PR_CAPBSET_DROP, right) != 0) _exit(77);
}

TEST_F(UsbCommandLine, PrintsWhatToDoIfAccessIsDenied) {
  plugIn({.forbidden = true});
  const ProgramResult list = runProgram({"list"}, giveUpRightToAnyFile);
  EXPECT_EQ(list.exitCode, 0);
  EXPECT_THAT(
      list.output,
      StartsWith("usb:1-1  Quenvar Q750\n  You do not have permission to use /dev/bus/usb/001/002. "));
  const ProgramResult scan = runProgram({"scan", "-o", path, "-d", "usb"}, giveUpRightToAnyFile);
  EXPECT_EQ(scan.exitCode, 4);
  EXPECT_THAT(scan.errors,
              StartsWith("q750: usb:1-1: You do not have permission to use /dev/bus/usb/001/002. "));
  const ProgramResult doctor = runProgram({"doctor"}, giveUpRightToAnyFile);
  EXPECT_EQ(doctor.exitCode, 4);
  EXPECT_THAT(doctor.output,
              HasSubstr("attention  usb:1-1: You do not have permission to use /dev/bus/usb/001/002. "));
}

TEST_F(UsbCommandLine, EndsWhenTheScannerIsPulledOut) {
  plugIn();
  Pipe out, errors;
  const pid_t process = startProgram({"scan", "-o", path, "-q", "-m", "gray", "--timeout", "20"},
                                     out.writer(), errors.writer());
  out.closeWriter();
  errors.closeWriter();
  usbfs_->awaitRequest(20);
  usbfs_->unplug();
  EXPECT_THAT(readAll(errors.reader()), StartsWith("q750: The scanner was disconnected during the scan."));
  EXPECT_EQ(waitFor(process), 2);
  EXPECT_THAT(folder.names(), IsEmpty());
  usbfs_->plugIn();
  EXPECT_EQ(scanUsb().exitCode, 0);
  expectWholePage();
}

TEST_F(UsbCommandLine, IsReadyForTheNextScanAfterACancel) {
  plugIn();
  Pipe out, errors;
  const pid_t process = startProgram({"scan", "-o", path, "-q", "-m", "gray"}, out.writer(), errors.writer());
  errors.closeWriter();
  usbfs_->awaitRequest(20);
  kill(process, SIGINT);
  EXPECT_EQ(readAll(errors.reader()), "q750: The scan was cancelled; nothing was saved.\n");
  EXPECT_EQ(waitFor(process), 130);
  EXPECT_THAT(folder.names(), IsEmpty());
  EXPECT_EQ(scanUsb().exitCode, 0);
  expectWholePage();
}

TEST_F(UsbCommandLine, LetsTheDoctorFindNothingWrong) {
  plugIn();
  const ProgramResult result = runProgram({"doctor", "--timeout", "1"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("ok         usb:1-1: a Quenvar Q750 that you may use.\n"
                                       "ok         usb:1-1: the test scan succeeded.\n"));
}

TEST_F(UsbCommandLine, LetsTheDoctorClearAWedgedPipe) {
  plugIn({}, {{stall, 4}});
  const ProgramResult result = runProgram({"doctor", "--timeout", "1"});
  EXPECT_EQ(result.exitCode, 0) << result.output;
  EXPECT_THAT(result.output, HasSubstr("note       usb:1-1: its pipes were blocked"));
  EXPECT_EQ(scanUsb().exitCode, 0);
  expectWholePage();
}

struct Case {
  const char* name;
  std::vector<Fault> faults;
  int exitCode;
  const char* message;
};

void PrintTo(const Case& one, std::ostream* out) {
  *out << one.name;
}

class UsbFaults : public UsbCommandLine, public testing::WithParamInterface<Case> {};

TEST_P(UsbFaults, AreReportedAndGoneWithTheNextScan) {
  plugIn({}, GetParam().faults);
  const ProgramResult result = scanUsb({"-d", "usb:1-1"});
  EXPECT_EQ(result.exitCode, GetParam().exitCode) << result.errors;
  EXPECT_THAT(result.errors, StartsWith(GetParam().message));
  if (GetParam().exitCode == 0) {
    expectWholePage();
  } else {
    EXPECT_THAT(folder.names(), IsEmpty());
  }
  repair();
  const ProgramResult next = scanUsb({"-d", "usb:1-1"});
  EXPECT_EQ(next.exitCode, 0) << next.errors;
  expectWholePage();
}

INSTANTIATE_TEST_SUITE_P(
    Faults, UsbFaults,
    testing::Values(
        Case{"None", {}, 0, ""},
        Case{"StallOfTheJob", {{stall, 8}}, 7, "q750: A USB transfer to or from the scanner failed"},
        Case{"StallOfARequest", {{stall, 4}}, 7, "q750: A USB transfer to or from the scanner failed"},
        Case{"TimeOut", {{timeOut, 4}}, 5, "q750: The scanner does not respond (request \""},
        Case{"ShortWrite", {{shortWrite, 2}}, 5, "q750: The scanner does not respond (request \"create\")."},
        Case{"Unplug", {{unplug, 9}}, 2, "q750: The scanner was disconnected during the scan."},
        Case{"ExceptionReply", {{exceptionReply, 2}}, 8, "q750: The scanner refused the scan. Its reason: "},
        Case{"SplitReply", {{splitReply, 2}}, 0, ""},
        Case{"GarbageReply", {{garbageReply, 2}}, 6, "q750: The scanner sent an unreadable reply"},
        Case{"Garbage", {{garbage, 100000}}, 6, "q750: The scanner's data is garbled."},
        Case{"TruncatedImage",
             {{truncatedImage, 100000}},
             5,
             "q750: The scanner stopped in the middle of the picture: 156 of 876 rows arrived, then no data "
             "for 1 "
             "second."},
        Case{"WrongHeader", {{wrongHeader, 3}}, 6, "q750: The scanner's picture cannot be read"},
        Case{"Silence",
             {{silence, 0}},
             5,
             "q750: The scanner accepted the job but sent no data for 1 second"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
