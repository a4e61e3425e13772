#include <gtest/gtest.h>

#include "NearestName.h"

namespace {

using frontend::nearestName;

TEST(NearestName, IsTheOneThatWasMeant) {
  constexpr std::string_view names[] = {"list", "scan", "doctor", "virtual"};
  const struct {
    const char* typed;
    const char* meant;
  } cases[] = {
      {"lst", "list"},   {"scna", "scan"},     {"docter", "doctor"}, {"vritual", "virtual"},
      {"SCAN", "scan"},  {"scanner", "scan"},  {"virt", "virtual"},  {"s", "scan"},
      {"lists", "list"}, {"doktor", "doctor"}, {"sacn", "scan"},     {"virtuel", "virtual"},
  };
  for (const auto& one : cases) EXPECT_EQ(nearestName(one.typed, names), one.meant) << one.typed;
}

TEST(NearestName, IsNoneWhereNothingIsNear) {
  constexpr std::string_view names[] = {"list", "scan", "doctor", "virtual"};
  for (const char* typed : {"", "foo", "print", "x", "xs", "scopes", "ls"})
    EXPECT_EQ(nearestName(typed, names), std::nullopt) << typed;
  EXPECT_EQ(nearestName(std::string(100000, 'l'), names), std::nullopt);
  EXPECT_EQ(nearestName("scan", {}), std::nullopt);
}

}  // namespace
