#include <gtest/gtest.h>

#include "ListenAddress.h"

namespace virtualscanner {
namespace {

TEST(ListenAddress, IsReadAndWrittenTheSameWay) {
  const struct {
    const char* text;
    ListenAddress address;
  } cases[] = {
      {"127.0.0.1:3240", {"127.0.0.1", 3240}},   {"0.0.0.0:0", {"0.0.0.0", 0}},
      {"localhost:65535", {"localhost", 65535}}, {"[::1]:3240", {"::1", 3240}},
      {"[fe80::1%eth0]:1", {"fe80::1%eth0", 1}},
  };
  for (const auto& one : cases) {
    EXPECT_EQ(parseListenAddress(one.text), one.address) << one.text;
    EXPECT_EQ(textOf(one.address), one.text);
  }
}

TEST(ListenAddress, IsRefusedUnlessItIsWhole) {
  for (const char* text : {"",
                           ":",
                           "3240",
                           "127.0.0.1",
                           "127.0.0.1:",
                           ":3240",
                           "127.0.0.1:65536",
                           "127.0.0.1:-1",
                           "127.0.0.1:+1",
                           "127.0.0.1: 1",
                           "127.0.0.1:1x",
                           "::1:3240",
                           "[::1]",
                           "[::1]3240",
                           "[]:3240",
                           "[127.0.0.1]:3240",
                           "[::1:3240",
                           "::1]:3240",
                           "[[::1]]:3240",
                           "127.0.0.1:80:90"})
    EXPECT_EQ(parseListenAddress(text), std::nullopt) << text;
}

}  // namespace
}  // namespace virtualscanner
