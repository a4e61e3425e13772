#include <iterator>

#include "ExportTest.h"
#include "ScriptedImageToolkit.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

// The steps of an export, as calls to the toolkit.
class Steps : public ExportTest {
 protected:
  // The same picture in each layout: two pixels.
  std::int32_t convertTwoPixels(std::uint32_t space = bitmapSpaceRGB24) {
    return convert(space, 2, 1, {10, 20, 30, 40, 50, 60}, 1);
  }
  ~Steps() override { EXPECT_THAT(toolkit.misuse, IsEmpty()); }

  ScriptedImageToolkit toolkit;
};

TEST_F(Steps, StageAnRgbPixelAsZeroAndItsThreeBytes) {
  EXPECT_EQ(convert(bitmapSpaceRGB24, 2, 1, {10, 20, 30, 40, 50, 60}), 0);
  EXPECT_THAT(toolkit.staged, ElementsAre(0x00, 0x0A, 0x14, 0x1E, 0x00, 0x28, 0x32, 0x3C));
}

struct Golden {
  const char* what;
  std::uint32_t space;
  std::vector<std::string> creation;
  const char* depth;

  friend void PrintTo(const Golden& golden, std::ostream* stream) { *stream << golden.what; }
};

class EveryLayout : public Steps, public testing::WithParamInterface<Golden> {};

TEST_P(EveryLayout, IsExportedInOneOrderOfCalls) {
  EXPECT_EQ(convertTwoPixels(GetParam().space), 0);
  std::vector<std::string> expected{"newHandle(0)", "getGWorld()"};
  const auto append = [&expected](const std::vector<std::string>& calls) {
    expected.insert(expected.end(), calls.begin(), calls.end());
  };
  append(GetParam().creation);
  append({"lockPixels()", "getPixBaseAddr()", "getPixRowBytes()", "unlockPixels()", "setPort(image)",
          "openADefaultComponent(grex, TIFF)", "setInputGWorld(image)", GetParam().depth,
          "setOutputHandle(handle)", "setResolution(012C0000, 00960000)", "doExport()", "closeComponent()",
          "setGWorld(host's port, device 77)", "disposeHandle()", "disposeGWorld()"});
  EXPECT_EQ(toolkit.calls, expected);
  EXPECT_THAT(toolkit.leftovers(), IsEmpty());
}

const Golden goldens[] = {
    {"Colour", 0x2101, {"newGWorld(32, 0 0 1 2, no table)"}, "setDepth(24)"},
    {"Grey", 0x280A, {"getCTable(40)", "newGWorld(8, 0 0 1 2, table 40)"}, "setDepth(40)"},
    {"OneBit", 0x0B00, {"newGWorld(1, 0 0 1 2, no table)"}, "setDepth(33)"},
};
INSTANTIATE_TEST_SUITE_P(Steps, EveryLayout, testing::ValuesIn(goldens),
                         [](const auto& instance) { return std::string(instance.param.what); });

struct StepFailure {
  const char* operation;
  std::int32_t result;

  friend void PrintTo(const StepFailure& failure, std::ostream* stream) { *stream << failure.operation; }
};

class FailedStep : public Steps, public testing::WithParamInterface<StepFailure> {};

TEST_P(FailedStep, GivesItsNumberAndLeavesTheCallersBlockAndTheComponentOpen) {
  holdBlock("old");
  toolkit.failOn(GetParam().operation);
  EXPECT_EQ(convertTwoPixels(), GetParam().result);
  EXPECT_EQ(block(), "old");
  EXPECT_THAT(toolkit.calls, Not(Contains("closeComponent()")));
  if (GetParam().result == 1)
    EXPECT_THAT(toolkit.leftovers(), IsEmpty());
  else
    EXPECT_THAT(toolkit.leftovers(), ElementsAre("component"));
}

TEST_P(FailedStep, IsTheLastBeforeTheToolkitGetsBackWhatIsItsOwn) {
  toolkit.failOn(GetParam().operation);
  EXPECT_EQ(convertTwoPixels(), GetParam().result);
  ASSERT_GE(toolkit.calls.size(), 4U);
  const std::vector<std::string> last(std::prev(toolkit.calls.end(), 4), toolkit.calls.end());
  EXPECT_THAT(last, ElementsAre(StartsWith(GetParam().operation), "setGWorld(host's port, device 77)",
                                "disposeHandle()", "disposeGWorld()"));
}

const StepFailure stepFailures[] = {
    {"openADefaultComponent", 1}, {"setInputGWorld", 2}, {"setDepth", 3},
    {"setOutputHandle", 4},       {"setResolution", 5},  {"doExport", 6},
};
INSTANTIATE_TEST_SUITE_P(Steps, FailedStep, testing::ValuesIn(stepFailures),
                         [](const auto& instance) { return std::string(instance.param.operation); });

TEST_F(Steps, PassTheErrorOfTheImagesCreationOnUnchanged) {
  for (const platform::OSErr error : {-108, -157, -50, -1, -70000, 3}) {
    holdBlock("old");
    toolkit.calls.clear();
    toolkit.failOn("newGWorld", error);
    EXPECT_EQ(convertTwoPixels(), error);
    EXPECT_EQ(block(), "old");
    EXPECT_THAT(toolkit.calls, ElementsAre("newHandle(0)", "getGWorld()", "newGWorld(32, 0 0 1 2, no table)",
                                           "setGWorld(host's port, device 77)", "disposeHandle()"));
  }
}

TEST_F(Steps, GiveMinus1WhereNoImageIsMade) {
  holdBlock("old");
  toolkit.makeNoImage();
  EXPECT_EQ(convertTwoPixels(), -1);
  EXPECT_EQ(block(), "old");
  EXPECT_THAT(toolkit.calls, ElementsAre("newHandle(0)", "getGWorld()", "newGWorld(32, 0 0 1 2, no table)",
                                         "setGWorld(host's port, device 77)", "disposeHandle()"));
}

TEST_F(Steps, GiveMinus1WhereThePixelsCannotBeLocked) {
  toolkit.failOn("lockPixels");
  EXPECT_EQ(convertTwoPixels(), -1);
  EXPECT_THAT(toolkit.leftovers(), IsEmpty());
  EXPECT_THAT(toolkit.calls, Not(Contains("getPixBaseAddr()")));
}

TEST_F(Steps, LetTheExporterRejectAHandleThatCouldNotBeMade) {
  toolkit.failOn("newHandle");
  EXPECT_EQ(convertTwoPixels(), 4);
  EXPECT_THAT(toolkit.calls, Contains("setOutputHandle(null)"));
  EXPECT_THAT(toolkit.calls, Not(Contains("disposeHandle()")));
}

TEST_F(Steps, EndAtAColourSpaceCodeThatIsNotListed) {
  for (const std::uint32_t space : {0x2800U, 0U, 0x2100U, 0x2102U, 0x280BU, 0x0B01U, 0x10B00U, 0xFFFFFFFFU}) {
    holdBlock("old");
    toolkit.calls.clear();
    EXPECT_EQ(convertTwoPixels(space), -50) << space;
    EXPECT_EQ(block(), "old");
    EXPECT_THAT(toolkit.calls, ElementsAre("newHandle(0)", "getGWorld()", "setGWorld(host's port, device 77)",
                                           "disposeHandle()"));
  }
}

TEST_F(Steps, CopyTheExportIntoABlockOfItsOwn) {
  toolkit.exported = "the exported file";
  holdBlock("old");  // a leak, if it were dropped
  EXPECT_EQ(convertTwoPixels(), 0);
  EXPECT_EQ(block(), "the exported file");
}

TEST_F(Steps, GiveABlockForAnEmptyExportToo) {
  toolkit.exported = "";
  EXPECT_EQ(convertTwoPixels(), 0);
  EXPECT_NE(tiff, nullptr);
  EXPECT_EQ(length, 0U);
}

TEST_F(Steps, FreeTheOldBlockEvenIfTheNewOneCannotBeHad) {
  holdBlock("old");
  refuseBlocks();
  EXPECT_EQ(convertTwoPixels(), -108);
  EXPECT_EQ(refusedBytes, toolkit.exported.size());
  EXPECT_EQ(tiff, nullptr);
  EXPECT_EQ(length, 3U);
  EXPECT_THAT(toolkit.leftovers(), ElementsAre("component"));
}

TEST_F(Steps, GiveTheResolutionWith16BitsBehindThePoint) {
  horizontal = 1;
  vertical = 32767;
  EXPECT_EQ(convertTwoPixels(), 0);
  EXPECT_THAT(toolkit.calls, Contains("setResolution(00010000, 7FFF0000)"));
}

TEST_F(Steps, SaturateAResolutionThatTakesMoreThan15Bits) {
  horizontal = 32768;
  vertical = 0xFFFFFFFF;
  EXPECT_EQ(convertTwoPixels(), 0);
  EXPECT_THAT(toolkit.calls, Contains("setResolution(7FFFFFFF, 7FFFFFFF)"));
}

TEST_F(Steps, DoNothingForANullAddress) {
  const CMBitmap bitmap{nullptr, 1, 1, 1, bitmapSpaceGrey8};
  const unsigned char pixel = 0;
  EXPECT_EQ(ConvertCMBitmapToTIFF(nullptr, &bitmap, &tiff, &length, nullptr, 1, 1), -50);
  EXPECT_EQ(ConvertCMBitmapToTIFF(&pixel, nullptr, &tiff, &length, nullptr, 1, 1), -50);
  EXPECT_EQ(ConvertCMBitmapToTIFF(&pixel, &bitmap, nullptr, &length, nullptr, 1, 1), -50);
  EXPECT_EQ(ConvertCMBitmapToTIFF(&pixel, &bitmap, &tiff, nullptr, nullptr, 1, 1), -50);
  EXPECT_EQ(tiff, nullptr);
  EXPECT_THAT(toolkit.calls, IsEmpty());
}

TEST_F(Steps, TakeTheNewBlockFromTheCAllocator) {
  EXPECT_EQ(exportEnvironment().allocateZeroed, &std::calloc);
}

}  // namespace
