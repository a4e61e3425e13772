#include <gtest/gtest.h>

#include <ostream>

#include "UsbPath.h"

namespace {

using platform::UsbPath;

struct Row {
  const char* text;
  UsbPath path;
  std::uint32_t location;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
  return out << row.text;
}

class UsbPaths : public testing::TestWithParam<Row> {};

TEST_P(UsbPaths, HaveATextThatLeadsBackAndALocation) {
  EXPECT_EQ(GetParam().path.text(), GetParam().text);
  EXPECT_EQ(UsbPath::parse(GetParam().text), GetParam().path);
  EXPECT_EQ(GetParam().path.location(), GetParam().location);
}

INSTANTIATE_TEST_SUITE_P(Rows, UsbPaths,
                         testing::Values(Row{"1-2", {1, {2}}, 0x01200000},
                                         Row{"1-2.3", {1, {2, 3}}, 0x01230000},
                                         Row{"12-1.2.3.4.5.6", {12, {1, 2, 3, 4, 5, 6}}, 0x0C123456},
                                         Row{"3-9.8.7.6.5.4.3", {3, {9, 8, 7, 6, 5, 4, 3}}, 0x03987654},
                                         Row{"255-255", {255, {255}}, 0xFFF00000},
                                         Row{"1-0", {1, {}}, 0x01000000}),
                         [](const auto& row) { return "row" + std::to_string(row.index); });

TEST(UsbPath, IsReadOnlyAsItIsWritten) {
  for (const char* text : {"",
                           "1",
                           "1-",
                           "-1",
                           "1-2.",
                           "1-2..3",
                           "1-.2",
                           "1-2 ",
                           " 1-2",
                           "1-2x",
                           "01-2",
                           "1-02",
                           "+1-2",
                           "0-2",
                           "1-2.0",
                           "1-0.2",
                           "256-1",
                           "1-256",
                           "1-2.256",
                           "1.2",
                           "1-2-3",
                           "1-2:1.0",
                           "1-1.2.3.4.5.6.7.8",
                           "99999999999999999999-1"})
    EXPECT_EQ(UsbPath::parse(text), std::nullopt) << text;
}

TEST(UsbPath, IsReadToItsLastByteOnly) {
  EXPECT_EQ(UsbPath::parse(std::string_view("1-23", 3)), UsbPath::parse("1-2"));
  EXPECT_EQ(UsbPath::parse(std::string_view("1-2\0", 4)), std::nullopt);
}

TEST(UsbPath, IsOrderedByBusAndThenPortByPort) {
  const char* ordered[] = {"1-1", "1-2", "1-2.1.7", "1-2.4", "1-2.10", "1-3", "1-12", "2-1", "10-1"};
  for (std::size_t n = 1; n < std::size(ordered); ++n)
    EXPECT_LT(*UsbPath::parse(ordered[n - 1]), *UsbPath::parse(ordered[n])) << ordered[n];
}

}  // namespace
