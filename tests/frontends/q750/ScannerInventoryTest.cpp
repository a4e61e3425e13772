#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "CommandError.h"
#include "ScannerInventory.h"

namespace {

using namespace frontend;
using testing::HasSubstr;

ScannerEntry real(const std::string& name) {
  return {name, "Quenvar", "Q750", "flatbed scanner", false, true, ""};
}
ScannerEntry forbidden(const std::string& name) {
  return {name, "Quenvar", "Q750", "flatbed scanner", false, false, "Join the group."};
}
ScannerEntry simulated() {
  return {"virtual", "Quenvar", "Q750 (virtual)", "virtual device", true, true, ""};
}

TEST(ScannerTable, PrintsHints) {
  EXPECT_EQ(scannerTable({simulated()}), "virtual  Quenvar Q750 (virtual)\n");
  EXPECT_EQ(scannerTable({real("usb:1-2.3"), forbidden("usb:2-1"), simulated()}),
            "usb:1-2.3  Quenvar Q750\n"
            "usb:2-1    Quenvar Q750\n"
            "  Join the group.\n"
            "virtual    Quenvar Q750 (virtual)\n");
}

TEST(InventoryAsJson, IsAnObject) {
  EXPECT_EQ(inventoryAsJson({{forbidden("usb:2-1"), simulated()}, "no \"USB\"\n\xff"}),
            R"json({
  "version": 1,
  "scanners": [
    {
      "name": "usb:2-1",
      "vendor": "Quenvar",
      "model": "Q750",
      "type": "flatbed scanner",
      "virtual": false,
      "accessible": false,
      "hint": "Join the group."
    },
    {
      "name": "virtual",
      "vendor": "Quenvar",
      "model": "Q750 (virtual)",
      "type": "virtual device",
      "virtual": true,
      "accessible": true,
      "hint": ""
    }
  ],
  "problem": "no \"USB\"\n\ufffd"
}
)json");
  EXPECT_EQ(inventoryAsJson({{}, ""}), "{\n  \"version\": 1,\n  \"scanners\": [],\n  \"problem\": \"\"\n}\n");
}

struct Choice {
  std::optional<std::string> asked;
  bool virtualWanted = false;
  std::vector<ScannerEntry> there;
};

std::string chosen(const Choice& choice) {
  return chooseScanner(choice.asked, choice.virtualWanted, [&choice] {
    return ScannerInventory{choice.there, ""};
  });
}

TEST(ChoosingAScanner, TakesTheOnlyOne) {
  EXPECT_EQ(chosen({std::nullopt, false, {real("usb:1-2"), simulated()}}), "usb:1-2");
}

TEST(ChoosingAScanner, TakesTheVirtualOneForItsOptions) {
  EXPECT_EQ(chosen({std::nullopt, true, {real("usb:1-2"), simulated()}}), "virtual");
  EXPECT_EQ(chosen({std::nullopt, true, {simulated()}}), "virtual");
  EXPECT_EQ(chosen({"virtual", true, {real("usb:1-2"), simulated()}}), "virtual");
}

TEST(ChoosingAScanner, TakesTheOneThatIsNamed) {
  const std::vector<ScannerEntry> all{real("usb:1-2"), real("usb:1-3"), simulated()};
  for (const char* name : {"usb:1-2", "usb:1-3", "usb", "virtual"})
    EXPECT_EQ(chosen({name, false, all}), name);
}

TEST(ChoosingAScanner, ReportsWhyItCannot) {
  const struct {
    Choice choice;
    ExitCode code;
    const char* complaint;
  } cases[] = {
      {{std::nullopt, false, {real("usb:1-2"), real("usb:1-3"), simulated()}},
       ExitCode::usage,
       "There are several scanners:\nusb:1-2  Quenvar Q750\nusb:1-3  Quenvar Q750\nChoose one of them with "
       "--device NAME."},
      {{std::nullopt, false, {forbidden("usb:1-2"), simulated()}},
       ExitCode::accessDenied,
       "usb:1-2: Join the group."},
      {{"usb", false, {forbidden("usb:1-2"), simulated()}},
       ExitCode::accessDenied,
       "usb:1-2: Join the group."},
      {{"usb:1-2", false, {forbidden("usb:1-2")}}, ExitCode::accessDenied, "usb:1-2: Join the group."},
      {{"usb:1-9", false, {real("usb:1-2"), simulated()}},
       ExitCode::noDevice,
       "--device usb:1-9: no such scanner. Available scanners:\nusb:1-2  Quenvar Q750\nvirtual  "
       "Quenvar "
       "Q750 (virtual)\nChoose one of them."},
      {{"usb", false, {simulated()}}, ExitCode::noDevice, "--device usb: no such scanner."},
      {{"flatbed", false, {simulated()}}, ExitCode::noDevice, "--device flatbed: no such scanner."},
      {{"", false, {real("usb:1-2"), simulated()}},
       ExitCode::noDevice,
       "--device: the name is empty. See q750 list for the names."},
      {{"usb:1-2", true, {real("usb:1-2")}},
       ExitCode::usage,
       "--device usb:1-2: options that begin with --virtual"},
  };
  for (const auto& one : cases) {
    try {
      ADD_FAILURE() << chosen(one.choice);
    } catch (const CommandError& error) {
      EXPECT_EQ(error.code(), one.code);
      EXPECT_THAT(error.what(), HasSubstr(one.complaint));
    }
  }
}

std::string complaintWithoutAScanner(const ScannerInventory& inventory) {
  try {
    return chooseScanner(std::nullopt, false, [&inventory] { return inventory; });
  } catch (const CommandError& error) {
    EXPECT_EQ(error.code(), inventory.code);
    return error.what();
  }
}

TEST(ChoosingAScanner, NeverTakesTheVirtualOneUnasked) {
  EXPECT_EQ(complaintWithoutAScanner({{simulated()}, ""}),
            "No Quenvar Q750 is connected. Check its cable and its power. To scan from the virtual scanner "
            "instead, add --device virtual.");
  EXPECT_EQ(
      complaintWithoutAScanner({{simulated()}, "USB cannot be used: Other error"}),
      "No Quenvar Q750 can be found (USB cannot be used: Other error). To scan from the virtual scanner "
      "instead, add --device virtual.");
}

TEST(ChoosingAScanner, ReportsAProblemOfTheUsb) {
  try {
    chooseScanner("usb", false, [] { return ScannerInventory{{simulated()}, "no USB here"}; });
    FAIL();
  } catch (const CommandError& error) {
    EXPECT_THAT(error.what(), HasSubstr("no such scanner (no USB here)."));
  }
}

// Examining USB may take a while, and is useless to users without a scanner there.
TEST(ChoosingAScanner, DoesNotLookForOneWhereTheVirtualOneIsMeant) {
  const auto look = [] {
    ADD_FAILURE() << "it was looked for";
    return ScannerInventory();
  };
  EXPECT_EQ(chooseScanner("virtual", false, look), "virtual");
  EXPECT_EQ(chooseScanner("virtual", true, look), "virtual");
  EXPECT_EQ(chooseScanner(std::nullopt, true, look), "virtual");
}

TEST(ChoosingAScanner, ReportsWhyScannersCouldNotBeLookedFor) {
  const ScannerInventory inventory{{simulated()}, "USB hangs.", ExitCode::timedOut};
  EXPECT_EQ(complaintWithoutAScanner(inventory), "USB hangs.");
  for (const char* name : {"usb", "usb:1-2"}) {
    try {
      chooseScanner(name, false, [&inventory] { return inventory; });
      FAIL() << name;
    } catch (const CommandError& error) {
      EXPECT_EQ(error.code(), ExitCode::timedOut);
      EXPECT_STREQ(error.what(), "USB hangs.");
    }
  }
}

}  // namespace
