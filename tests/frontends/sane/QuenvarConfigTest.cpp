#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuenvarConfig.h"

namespace {

using namespace frontend;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

TEST(QuenvarConfig, OfAnEmptyTextHasNoVirtualScannerAndHalfAMinutesPatience) {
  const QuenvarConfig config = QuenvarConfig::parse("");
  EXPECT_FALSE(config.virtualScanner);
  EXPECT_EQ(config.timeout, 30s);
  EXPECT_THAT(config.complaints, IsEmpty());
}

TEST(QuenvarConfig, TakesEverySetting) {
  const QuenvarConfig config = QuenvarConfig::parse(
      "# comment\n\n virtual on\ntimeout\t7.5 \r\nvirtual-paper /a folder/page.png\nvirtual-fault stall@7\n"
      "virtual-fault silence\nvirtual-warm-up 250\nvirtual-speed 1000000\nvirtual-real-time on");
  EXPECT_THAT(config.complaints, IsEmpty());
  EXPECT_TRUE(config.virtualScanner);
  EXPECT_EQ(config.timeout, 7500ms);
  EXPECT_EQ(config.virtualOptions.paper, "/a folder/page.png");
  EXPECT_THAT(config.virtualOptions.faults, ElementsAre("stall@7", "silence"));
  EXPECT_EQ(config.virtualOptions.warmUpMs, 250U);
  EXPECT_EQ(config.virtualOptions.bytesPerSecond, 1000000U);
  EXPECT_TRUE(config.virtualOptions.realTime);
}

TEST(QuenvarConfig, ComplainsOfALineThatSaysNothingAndGoesOn) {
  for (const char* line :
       {"virtual maybe", "virtual", "timeout 0", "timeout 0.09", "timeout 86400.1", "timeout ten",
        "timeout nan", "timeout 5s", "timeout -1", "virtual-warm-up 3600001", "timeout", "virtual-paper",
        "virtual-fault", "virtual-speed 4294967296", "nonsense", "Virtual on"}) {
    const QuenvarConfig config = QuenvarConfig::parse("# first\n" + std::string(line) + "\nvirtual on\n");
    EXPECT_THAT(
        config.complaints,
        ElementsAre("quenvar.conf, line 2 ignored: unknown setting or invalid value: " + std::string(line)));
    EXPECT_TRUE(config.virtualScanner) << line;
    EXPECT_EQ(config.timeout, 30s) << line;
  }
}

TEST(QuenvarConfig, IsLookedForWhereTheEnvironmentSays) {
  EXPECT_THAT(QuenvarConfig::folders("/a:/b"), ElementsAre("/a", "/b"));
  EXPECT_THAT(QuenvarConfig::folders("/a"), ElementsAre("/a"));
}

TEST(QuenvarConfig, IsLookedForInTheUsualFoldersToo) {
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    EXPECT_THAT(QuenvarConfig::folders(none), ElementsAre(".", testing::EndsWith("/sane.d")));
  }
  EXPECT_THAT(QuenvarConfig::folders("/a:"), ElementsAre("/a", ".", testing::EndsWith("/sane.d")));
}

}  // namespace
