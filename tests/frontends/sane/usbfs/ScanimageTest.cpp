#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "EmulatedUsbfs.h"
#include "OtherUser.h"
#include "PageImage.h"
#include "TemporaryFolder.h"

namespace {

using namespace virtualscanner;
using testing::HasSubstr;
using testing::Not;

// scanimage with the back end and the emulated device only, which is at port 1 of bus 1.
class ScanimageOverUsb : public testing::Test {
 protected:
  ScanimageOverUsb() { writeContent(folder / "dll.conf", "quenvar\n"); }

  // Returns the exit status; its output is stored in `output` and `errors`.
  int scanimage(const std::string& arguments, const std::string& moreEnvironment = "") {
    const std::string environment = moreEnvironment +
                                    "LD_PRELOAD=libumockdev-preload.so.0 LD_LIBRARY_PATH=" + libraries +
                                    " SANE_CONFIG_DIR=" + folder.path().string() + " LC_ALL=C ";
    const std::string command = environment + Q750_SCANIMAGE " " + arguments + " >" + (folder / "output") +
                                " 2>" + (folder / "errors");
    const int status = std::system(command.c_str());
    output = contentOf(folder / "output");
    errors = contentOf(folder / "errors");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  TemporaryFolder folder;
  std::string libraries = Q750_SANE_FOLDER;
  VirtualScanner scanner;
  std::string output;
  std::string errors;
};

TEST_F(ScanimageOverUsb, ListsTheScannerByItsPort) {
  EmulatedUsbfs usbfs(scanner, {});
  EXPECT_EQ(scanimage("-L"), 0);
  EXPECT_THAT(output, HasSubstr("device `quenvar:usb:1-1' is a Quenvar Q750 flatbed scanner"));
  usbfs.unplug();
  scanimage("-L");
  EXPECT_THAT(output, Not(HasSubstr("quenvar:usb")));
}

TEST_F(ScanimageOverUsb, DoesNotLookForScannersToOpenTheVirtualOne) {
  EmulatedUsbfs usbfs(scanner, {});
  writeContent(folder / "quenvar.conf", "virtual on\n");
  const std::string verbosely = "SANE_DEBUG_QUENVAR=3 ";
  EXPECT_EQ(scanimage("-d quenvar:virtual -A --format=pnm", verbosely), 0);
  EXPECT_EQ(errors, "[quenvar] found virtual\n");
  EXPECT_EQ(scanimage("-d quenvar:usb:1-1 -A --format=pnm", verbosely), 0);
  EXPECT_EQ(errors, "[quenvar] found usb:1-1\n[quenvar] found virtual\n");
}

TEST_F(ScanimageOverUsb, DeliversTheModelsPageAgainAndAgain) {
  EmulatedUsbfs usbfs(scanner, {});
  const auto page = paintPage(Paper::testChart(), {75, true, 0, 0, 637, 876});
  const std::string pixels(page.begin(), page.end());
  for (const char* device : {"-d quenvar:usb:1-1 ", "-d quenvar "}) {
    ASSERT_EQ(scanimage(std::string(device) + "--resolution 75 --format=pnm"), 0) << errors;
    EXPECT_TRUE(output.ends_with(pixels));
    EXPECT_EQ(usbfs.requestsInFlight(), 0U);
    usbfs.unplug();
    usbfs.plugIn();  // the name stays
  }
}

TEST_F(ScanimageOverUsb, IsToldThatItMayNotHaveTheScanner) {
  EmulatedUsbfs::Options options;
  options.forbidden = true;
  EmulatedUsbfs usbfs(scanner, options);
  // What another user can read, wherever this was built.
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  for (const char* file : {"libsane-quenvar.so.1", "q750-worker"})
    std::filesystem::copy_file(libraries + "/" + file, folder / file);
  libraries = folder.path();
  {
    const OtherUser nobody;  // as who scanimage starts
    EXPECT_EQ(scanimage("-d quenvar:usb:1-1 --resolution 75 --format=pnm"), 1);
  }
  EXPECT_THAT(errors, HasSubstr("Access to resource has been denied"));
}

TEST_F(ScanimageOverUsb, IsToldThatAnotherProgramHasTheScanner) {
  EmulatedUsbfs::Options options;
  options.inUse = true;
  EmulatedUsbfs usbfs(scanner, options);
  EXPECT_EQ(scanimage("-d quenvar:usb:1-1 --resolution 75 --format=pnm"), 3);
  EXPECT_THAT(errors, HasSubstr("Device busy"));
}

TEST_F(ScanimageOverUsb, IsToldOfAnUnpluggedScanner) {
  EmulatedUsbfs usbfs(scanner, {});
  usbfs.withScanner([](VirtualScanner& one) { one.setFaults({*parseFault("unplug@9")}); });
  EXPECT_EQ(scanimage("-d quenvar:usb:1-1 --resolution 300 --format=pnm"), 9);
  EXPECT_THAT(errors, HasSubstr("Error during device I/O"));
}

}  // namespace
