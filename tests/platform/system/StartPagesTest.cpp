#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "StartPages.h"

namespace {

// Of mapped files, in kB.
long residentKb() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("RssFile:")) return std::stol(line.substr(8));
  }
  return 0;
}

TEST(StartMemory, IsGivenBackAndReadAgainWhenItIsNeeded) {
  const long before = residentKb();
  platform::forgetStartPages();
  const long after = residentKb();
  EXPECT_LT(after, before / 2);
  EXPECT_GT(after, 0);
  const std::string text = "read again";
  EXPECT_EQ(std::stol("42") + static_cast<long>(text.size()), 52);
}

TEST(StartMemory, MayBeGivenBackAgainAndAgain) {
  for (int i = 0; i < 10; ++i) platform::forgetStartPages();
  EXPECT_GT(residentKb(), 0);
}

}  // namespace
