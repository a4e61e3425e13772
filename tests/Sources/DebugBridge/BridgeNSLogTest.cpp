#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cwchar>
#include <string>

#include "BridgeFromC.h"
#include "DebugBridge.h"
#include "RecordingLogSink.h"

namespace {

using testing::ElementsAre;

class BridgeNSLogTest : public testing::Test {
 protected:
  RecordingLogSink log;
};

TEST_F(BridgeNSLogTest, LogsOneFormattedLine) {
  BridgeNSLog("offset %d: %s, %5.2f, %c", 3, "text", 1.5, 'x');
  BridgeNSLog("plain");
  EXPECT_THAT(log.lines, ElementsAre("offset 3: text,  1.50, x", "plain"));
}

TEST_F(BridgeNSLogTest, LogsAnEmptyTextAsAnEmptyLine) {
  BridgeNSLog("%s", "");
  EXPECT_THAT(log.lines, ElementsAre(""));
}

TEST_F(BridgeNSLogTest, CutsALongerTextTo2039Characters) {
  std::string text;
  for (int i = 0; text.size() < 3000; ++i) text += std::to_string(i) + ",";
  text.resize(3000);
  BridgeNSLog("%s", text.c_str());
  EXPECT_THAT(log.lines, ElementsAre(text.substr(0, 2039)));
}

TEST_F(BridgeNSLogTest, LogsUpTo2039CharactersWhole) {
  for (const std::size_t length : {2038U, 2039U, 2040U, 2041U}) {
    BridgeNSLog("%s", std::string(length, 'x').c_str());
    EXPECT_EQ(log.lines.back(), std::string(std::min<std::size_t>(length, 2039), 'x'));
  }
}

TEST_F(BridgeNSLogTest, DoesNotInterpretTheResultAgain) {
  BridgeNSLog("%s%%d", "100% %s %n %5000d");
  EXPECT_THAT(log.lines, ElementsAre("100% %s %n %5000d%d"));
}

TEST_F(BridgeNSLogTest, LogsAnEmptyLineWhereTheTextCannotBeFormatted) {
  BridgeNSLog("written before %lc", wint_t{0xD800});  // no character in any locale
  EXPECT_THAT(log.lines, ElementsAre(""));
}

TEST_F(BridgeNSLogTest, IsCalledFromC) {
  logFromC();
  EXPECT_THAT(log.lines, ElementsAre("from C: 7 and text"));
}

}  // namespace
