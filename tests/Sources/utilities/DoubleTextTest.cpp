#include <gtest/gtest.h>

#include <limits>

#include "DoubleText.h"

namespace {

TEST(ReadDouble, ReadsTheNumberAtTheFront) {
  const struct {
    const char* text;
    double expected;
  } rows[] = {
      {"0.5", 0.5},
      {" \t\r\n-2.25e2 and more", -225.0},
      {"+.5", 0.5},
      {"0x10", 16.0},
      {"1,5", 1.0},
      {"0.1", 0.1},
      {"1e400", std::numeric_limits<double>::infinity()},
      {"-inf", -std::numeric_limits<double>::infinity()},
      {"1e-400", 0.0},
      {"abc", 0.0},
      {"", 0.0},
  };
  for (const auto& row : rows) EXPECT_EQ(readDouble(row.text), row.expected) << row.text;
}

}  // namespace
