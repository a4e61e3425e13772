#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "FrontEnd.h"

namespace {

using testing::Contains;
using testing::Not;

class SaneLife : public FrontEnd {
 protected:
  std::vector<std::string> devices(SANE_Bool localOnly = SANE_FALSE) {
    const SANE_Device** list = nullptr;
    EXPECT_EQ(library.getDevices(&list, localOnly), SANE_STATUS_GOOD);
    std::vector<std::string> names;
    for (; *list != nullptr; ++list) {
      names.emplace_back((*list)->name);
      EXPECT_LT(names.back().size(), 32U);
      EXPECT_STREQ((*list)->vendor, "Quenvar");
      const bool isVirtual = names.back() == "virtual";
      EXPECT_STREQ((*list)->model, isVirtual ? "Q750 (virtual)" : "Q750");
      EXPECT_STREQ((*list)->type, isVirtual ? "virtual device" : "flatbed scanner");
    }
    return names;
  }
  static std::size_t threads() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
  }
};

TEST_F(SaneLife, ListsTheVirtualScannerOnlyWhereItIsSwitchedOn) {
  begin();
  EXPECT_THAT(devices(), Contains("virtual"));
  EXPECT_THAT(devices(SANE_TRUE), Contains("virtual")) << "it is a local one";
  begin("virtual off");
  EXPECT_THAT(devices(), Not(Contains("virtual")));
  EXPECT_EQ(library.open("virtual", &handle), SANE_STATUS_INVAL);
}

TEST_F(SaneLife, OpensTheFirstScannerWhereNoneIsNamed) {
  begin();
  if (devices().size() != 1) GTEST_SKIP() << "there is a real scanner, which is not to be opened here";
  ASSERT_EQ(library.open("", &handle), SANE_STATUS_GOOD);
  SANE_Handle second = nullptr;
  EXPECT_EQ(library.open("virtual", &second), SANE_STATUS_DEVICE_BUSY);
}

TEST_F(SaneLife, OpensAScannerOnceUntilItIsClosed) {
  open();
  SANE_Handle second = &second;
  EXPECT_EQ(library.open("virtual", &second), SANE_STATUS_DEVICE_BUSY);
  EXPECT_EQ(second, nullptr);
  library.close(handle);
  EXPECT_EQ(library.open("virtual", &handle), SANE_STATUS_GOOD);
}

TEST_F(SaneLife, OpensNothingUnderAWrongName) {
  begin();
  for (const char* name : {"nonsense", "usb:9-9.9", "usb:", "virtual ", "Virtual"})
    EXPECT_EQ(library.open(name, &handle), SANE_STATUS_INVAL) << name;
  EXPECT_EQ(library.open("virtual", nullptr), SANE_STATUS_INVAL);
}

TEST_F(SaneLife, LogsWhyAScannerIsNotOpenedWhereTheEnvironmentAsks) {
  setenv("SANE_DEBUG_QUENVAR", "1", 1);
  testing::internal::CaptureStderr();
  begin("virtual off");
  EXPECT_EQ(library.open("virtual", &handle), SANE_STATUS_INVAL);
  begin();
  SANE_Handle second = nullptr;
  EXPECT_EQ(library.open("virtual", &handle), SANE_STATUS_GOOD);
  EXPECT_EQ(library.open("virtual", &second), SANE_STATUS_DEVICE_BUSY);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "[quenvar] There is no scanner \"virtual\". Run scanimage -L for the available ones.\n"
            "[quenvar] This program has the scanner open already. Close it there first.\n");
}

TEST_F(SaneLife, AnswersWithoutHandleOrBeforeItsBeginning) {
  SANE_Parameters parameters;
  SANE_Word word = 0;
  const SANE_Device** list = nullptr;
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(library.start(nullptr), SANE_STATUS_INVAL);
    EXPECT_EQ(library.getParameters(nullptr, &parameters), SANE_STATUS_INVAL);
    EXPECT_EQ(library.controlOption(nullptr, 0, SANE_ACTION_GET_VALUE, &word, nullptr), SANE_STATUS_INVAL);
    EXPECT_EQ(library.getOptionDescriptor(nullptr, 0), nullptr);
    library.close(nullptr);
    library.cancel(nullptr);
    if (round == 1) break;
    EXPECT_EQ(library.getDevices(&list, SANE_FALSE), SANE_STATUS_INVAL);
    EXPECT_EQ(library.open("virtual", &handle), SANE_STATUS_INVAL);
    library.exit();  // harmless
    begin();
  }
}

TEST_F(SaneLife, EndsWithAHandleOpenInTheMiddleOfAScan) {
  begin("virtual-speed 30000\nvirtual-real-time on");
  open();
  start();
  read(1);
  end();
  EXPECT_FALSE(hasChild());
}

TEST_F(SaneLife, StartsNoThread) {
  const std::size_t before = threads();
  open();
  devices();
  askForSmallScan("Gray");
  start();
  read(1);
  EXPECT_EQ(threads(), before);
}

TEST_F(SaneLife, LeavesNothingBehindAfterAHundredScans) {
  open();
  askForSmallScan("Gray");
  set("br-y", SANE_FIX(12));
  std::size_t descriptors = 0;
  std::size_t memory = 0;
  for (int round = 0; round < 100; ++round) {
    ASSERT_EQ(start(), SANE_STATUS_GOOD);
    if (round % 3 == 0) library.cancel(handle);
    readAll();
    if (round == 10) {
      descriptors = openDescriptors();
      memory = mallinfo2().uordblks;
    }
  }
  EXPECT_EQ(openDescriptors(), descriptors);
  EXPECT_LT(mallinfo2().uordblks, memory + 50000);
}

TEST(SaneLibrary, IsUnloadedAndLoadedAHundredTimes) {
  TemporaryFolder folder;
  writeContent(folder / "quenvar.conf", "virtual on\n");
  setenv("SANE_CONFIG_DIR", folder.path().c_str(), 1);
  const auto descriptors = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  const auto before = descriptors();
  for (int round = 0; round < 100; ++round) {
    {
      const BackEndLibrary library;
      ASSERT_EQ(library.init(nullptr, nullptr), SANE_STATUS_GOOD);
      const SANE_Device** list = nullptr;
      ASSERT_EQ(library.getDevices(&list, SANE_TRUE), SANE_STATUS_GOOD);
      SANE_Handle handle = nullptr;
      ASSERT_EQ(library.open("virtual", &handle), SANE_STATUS_GOOD);
      library.exit();
    }
    ASSERT_FALSE(BackEndLibrary::isLoaded()) << "something holds the library";
  }
  EXPECT_EQ(descriptors(), before);
}

// A unique symbol would keep the library loaded until the process ends.
TEST(SaneLibrary, HasNoUniqueSymbol) {
  const std::string command = std::string("readelf -W --syms ") + BackEndLibrary::path;
  FILE* output = popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  char line[4096];
  bool found = false;
  while (std::fgets(line, sizeof line, output) != nullptr) {
    found |= std::strstr(line, "sane_quenvar_init") != nullptr;
    EXPECT_EQ(std::strstr(line, " UNIQUE "), nullptr) << line;
  }
  EXPECT_EQ(pclose(output), 0);
  EXPECT_TRUE(found);
}

}  // namespace
