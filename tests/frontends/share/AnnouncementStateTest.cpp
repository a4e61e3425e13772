#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "Announcement.h"
#include "AnnouncementState.h"

namespace {

using namespace frontend::share;

constexpr const char* announcementStates[] = {"absent",      "idle",      "waiting",
                                              "registering", "announced", "refused"};
constexpr const char* announcementEventNames[] = {"publish",     "withdraw",  "ready",  "lost",
                                                  "established", "collision", "failure"};
constexpr const char* announcementActions[] = {
    "", " +add", " +remove", " +addRenamed", " +reportName", " +reportRefusal"};

// One row of the table: where an event leads from each state, in the order of the states, and what it makes
// the announcement do.
struct TableRow {
  AnnouncementEvent event;
  std::vector<std::string> follows;
};

void PrintTo(const TableRow& row, std::ostream* out) {
  *out << announcementEventNames[static_cast<std::size_t>(row.event)];
}

class AnnouncementTable : public testing::TestWithParam<TableRow> {};

TEST_P(AnnouncementTable, LeadsFromEveryState) {
  for (std::size_t i = 0; i < std::size(announcementStates); ++i) {
    const AnnouncementStep after = step(static_cast<AnnouncementState>(i), GetParam().event);
    EXPECT_EQ(std::string(announcementStates[static_cast<std::size_t>(after.next)]) +
                  announcementActions[static_cast<std::size_t>(after.action)],
              GetParam().follows[i])
        << "from " << announcementStates[i];
  }
}

INSTANTIATE_TEST_SUITE_P(
    Rows, AnnouncementTable,
    testing::Values(TableRow{AnnouncementEvent::publish,
                             {"waiting", "registering +add", "waiting", "registering +add",
                              "registering +add", "registering +add"}},
                    TableRow{AnnouncementEvent::withdraw,
                             {"absent", "idle", "absent", "idle +remove", "idle +remove", "idle +remove"}},
                    TableRow{AnnouncementEvent::ready,
                             {"idle", "idle", "registering +add", "registering", "announced", "refused"}},
                    TableRow{AnnouncementEvent::lost,
                             {"absent", "absent", "waiting", "waiting +remove", "waiting +remove",
                              "waiting +remove"}},
                    TableRow{AnnouncementEvent::established,
                             {"absent", "idle", "waiting", "announced +reportName", "announced", "refused"}},
                    TableRow{AnnouncementEvent::collision,
                             {"absent", "idle", "waiting", "registering +addRenamed",
                              "registering +addRenamed", "refused"}},
                    TableRow{AnnouncementEvent::failure,
                             {"absent", "idle", "waiting", "refused +reportRefusal", "refused +reportRefusal",
                              "refused"}}),
    [](const auto& row) { return testing::PrintToString(row.param); });

TEST(AnnouncementReaches, NobodyByDefaultWhereOnlyThisMachineIsServed) {
  EXPECT_EQ(announcementReach(false, false), AnnouncementReach::nobody);
  EXPECT_EQ(announcementReach(false, true), AnnouncementReach::thisMachine);
  EXPECT_EQ(announcementReach(true, false), AnnouncementReach::network);
  EXPECT_EQ(announcementReach(true, true), AnnouncementReach::network);
}

}  // namespace
