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
      {"page%02d-%d.png", 7, "page07-%d.png"},
      {"%d/page.png", 7, "%d/page-7.png"},
      {"100%.png", 7, "100%-7.png"},
      {"%s%n%00d%3d%0xd.png", 7, "%s%n%00d%3d%0xd-7.png"},
      {"%%d.png", 7, "%7.png"},
      {"%0", 7, "%0-7"},
  };
  for (const auto& one : cases) EXPECT_EQ(numberedName(one.path, one.number), one.numbered) << one.path;
}

}  // namespace
