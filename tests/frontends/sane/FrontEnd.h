#pragma once

#include <gtest/gtest.h>
#include <sane/sane.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "BackEndLibrary.h"
#include "TemporaryFolder.h"

// A front end with the back end loaded and, by default, the virtual scanner as its only one:
//
//   begin("virtual-warm-up 200");        // more lines for quenvar.conf
//   open();
//   askForSmallScan("Gray");
//   EXPECT_EQ(start(), SANE_STATUS_GOOD);
//   EXPECT_EQ(readAll(), smallPage("Gray"));
//   EXPECT_EQ(status, SANE_STATUS_EOF);
//
// At its end nothing may be left: no process, no open descriptor.
class FrontEnd : public testing::Test {
 protected:
  FrontEnd();
  ~FrontEnd() override;

  // sane_init with this configuration; an earlier scanner is dropped.
  void begin(const std::string& config = "");
  void end();
  // "virtual" and its handle.
  void open();

  // By the options' names.
  SANE_Status set(const std::string& option, const char* text);
  SANE_Status set(const std::string& option, SANE_Word word);
  SANE_Status setMillimetres(const std::string& option, double millimetres) {
    return set(option, SANE_FIX(millimetres));
  }
  // A part of the test chart at 75 dots per inch: 118 x 89 pixels from (20, 30) on.
  void askForSmallScan(const char* mode);
  // The expected picture of that part, and of the whole bed at 75 dots per inch.
  static std::vector<std::uint8_t> smallPage(const std::string& mode, int threshold = 128);
  static std::vector<std::uint8_t> wholePage(const std::string& mode, std::uint32_t resolution = 75);

  SANE_Status start() { return library.start(handle); }
  // One read; the bytes are appended to `received`.
  SANE_Status read(SANE_Int capacity = 32768);
  // Reads to the end, whose status is left in `status`.
  std::vector<std::uint8_t> readAll(SANE_Int capacity = 32768);
  SANE_Parameters parameters();
  // Whether the scan's descriptor is readable within this time.
  bool readable(int milliseconds);

  static std::size_t openDescriptors();
  // Whether this process has a child, running or not.
  static bool hasChild();

  BackEndLibrary library;
  TemporaryFolder folder;
  bool countsDescriptors_ = true;  // whether none may be left
  SANE_Handle handle = nullptr;
  SANE_Status status = SANE_STATUS_GOOD;
  SANE_Int length = -1;
  std::vector<std::uint8_t> received;

 private:
  SANE_Int optionNamed(const std::string& name);

  std::size_t descriptorsBefore_;
  bool begun_ = false;
};
