#include <gtest/gtest.h>

#include "FileName.h"

namespace {

using namespace frontend;

TEST(FileName, EndsInAnExtensionOrNot) {
  const struct {
    const char* path;
    const char* extension;
  } cases[] = {
      {"a.png", "png"}, {"a.b.TIFF", "tiff"}, {"dir.png/a", ""}, {".png", ""},
      {"dir/.png", ""}, {"a.", ""},           {"", ""},
  };
  for (const auto& one : cases) EXPECT_EQ(extensionOf(one.path), one.extension) << one.path;
}

TEST(FileName, TakesTheNumberOfAPage) {
  const struct {
    const char* path;
    std::uint32_t number;
    const char* numbered;
  } cases[] = {
      {"page.png", 1, "page-1.png"},
      {"dir.d/page", 12, "dir.d/page-12"},
      {"a.b.png", 2, "a.b-2.png"},
      {".png", 3, ".png-3"},
      {"page%d.png", 7, "page7.png"},
      {"%d", 7, "7"},
      {"page%03d.png", 7, "page007.png"},
      {"page%03d.png", 12345, "page12345.png"},
      {"page%02d-%d.png", 7, "page07-7.png"},
      {"%d/page.png", 7, "%d/page-7.png"},
      {"%s%/page.png", 7, "%s%/page-7.png"},
      {"100%%.png", 7, "100%-7.png"},
      {"%%d.png", 7, "%d-7.png"},
      {"%%%d.png", 7, "%7.png"},
      {"%%%%", 7, "%%-7"},
      {"a.%d", 7, "a.7"},
  };
  for (const auto& one : cases) EXPECT_EQ(numberedName(one.path, one.number), one.numbered) << one.path;
}

TEST(FileName, TakesANumberOnlyInItsPlacesWhereItIsNotOfASeries) {
  const struct {
    const char* path;
    const char* expanded;
  } cases[] = {{"page.png", "page.png"},
               {"page%02d.png", "page05.png"},
               {"100%%.png", "100%.png"},
               {"%%d.png", "%d.png"},
               {"%%%%d", "%%d"},
               {"%d/%d", "%d/5"},
               {"dir%%/a.png", "dir%%/a.png"}};
  for (const auto& one : cases) EXPECT_EQ(expandedName(one.path, 5), one.expanded) << one.path;
}

TEST(FileName, HasAPlaceForTheNumberOrNot) {
  for (const char* with : {"%d", "a%09d.png", "%%%d", "dir/%d"}) EXPECT_TRUE(hasPlaceForNumber(with)) << with;
  for (const char* without : {"", "a", "%%d", "%d/a", "%%%%"})
    EXPECT_FALSE(hasPlaceForNumber(without)) << without;
}

TEST(FileName, HasNoOtherPlaces) {
  const struct {
    const char* path;
    const char* invalid;
  } cases[] = {{"%d%%%01d%09d", ""}, {"%s/%n/a.png", ""}, {"a%s.png", "%s"}, {"%%%n", "%n"},
               {"100%.png", "%."},   {"100%", "%"},       {"%00d", "%0"},    {"%3d", "%3"},
               {"%0xd", "%0"},       {"%012d", "%0"},     {"%0", "%0"},      {"%d%u", "%u"}};
  for (const auto& one : cases) EXPECT_EQ(invalidPlaceIn(one.path), one.invalid) << one.path;
}

}  // namespace
