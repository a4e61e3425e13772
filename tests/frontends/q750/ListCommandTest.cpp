#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "CommandError.h"
#include "ListCommand.h"

namespace {

using namespace frontend;

struct Listing {
  std::string out;
  std::string errors;
  std::optional<ExitCode> code;  // of the error that was thrown
};

Listing listed(const ScannerInventory& inventory, bool json = false) {
  Listing listing;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  try {
    printInventory(inventory, json);
  } catch (const CommandError& error) {
    EXPECT_EQ(error.what(), inventory.problem);
    listing.code = error.code();
  }
  listing.out = testing::internal::GetCapturedStdout();
  listing.errors = testing::internal::GetCapturedStderr();
  return listing;
}

TEST(ListCommand, PrintsTheScanners) {
  const Listing listing = listed({{virtualScanner()}, ""});
  EXPECT_EQ(listing.out, "virtual  Quenvar Q750 (virtual)\n");
  EXPECT_EQ(listing.errors, "");
  EXPECT_FALSE(listing.code);
}

TEST(ListCommand, MentionsUsbThatDoesNotWork) {
  const ScannerInventory withoutUsb{{virtualScanner()}, "USB does not work.", ExitCode::noDevice};
  EXPECT_EQ(listed(withoutUsb).errors, "q750: USB does not work.\n");
  EXPECT_FALSE(listed(withoutUsb).code);
  EXPECT_EQ(listed(withoutUsb, true).errors, "") << "the document has it";
}

TEST(ListCommand, FailsAfterAListThatMayBeIncomplete) {
  const ScannerInventory unknown{{virtualScanner()}, "There is not enough memory.", ExitCode::noMemory};
  for (const bool json : {false, true}) {
    EXPECT_EQ(listed(unknown, json).code, ExitCode::noMemory);
    EXPECT_EQ(listed(unknown, json).out, json ? inventoryAsJson(unknown) : scannerTable(unknown.scanners));
  }
}

}  // namespace
