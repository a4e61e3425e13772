#include <gtest/gtest.h>

#include <string>

#include "MessageGlance.h"
#include "Packets.h"

namespace {

using frontend::glanceAt;
using frontend::MessageGlance;
using frontend::MessageKind;

std::string payloadOf(const std::string& packet) {
  return packet.substr(wire::packetHeaderSize);
}

TEST(MessageGlance, NamesTheMethodOfACall) {
  const MessageGlance glance = glanceAt(payloadOf(call("create")));
  EXPECT_EQ(glance.kind, MessageKind::call);
  EXPECT_EQ(glance.method, "create");
}

TEST(MessageGlance, IgnoresMethodsDeeperInTheCall) {
  const MessageGlance glance = glanceAt(
      "<method name=\"callMethod\"><arg name=\"method\">start</arg><arg name=\"params\"><MapElem><child "
      "name=\"method\">no</child></MapElem></arg></method>");
  EXPECT_EQ(glance.method, "start");
}

TEST(MessageGlance, SeesTheResultOfAResponse) {
  const MessageGlance glance = glanceAt(payloadOf(response("job1")));
  EXPECT_EQ(glance.kind, MessageKind::response);
  EXPECT_TRUE(glance.hasResult);
}

TEST(MessageGlance, SeesThatAResponseHasNoResult) {
  EXPECT_FALSE(glanceAt("<response requestID=\"1\"> </response>").hasResult);
}

TEST(MessageGlance, TakesTheReasonOfAnExceptionWithoutItsBlanks) {
  const MessageGlance glance = glanceAt(payloadOf(exceptionReply("\r\n  no paper\r\n")));
  EXPECT_EQ(glance.kind, MessageKind::exception);
  EXPECT_EQ(glance.reason, "no paper");
}

TEST(MessageGlance, TakesTheReasonThatStandsInTheExceptionItself) {
  EXPECT_EQ(glanceAt("<exception requestID=\"1\">lid open</exception>").reason, "lid open");
}

TEST(MessageGlance, KnowsTagsByTwoCharactersAsTheLibraryDoes) {
  EXPECT_EQ(glanceAt("<reply><StringElem>x</StringElem></reply>").kind, MessageKind::response);
}

TEST(MessageGlance, CallsEverythingElseUnreadable) {
  const std::string whole = "<response requestID=\"1\"><IntegerElem>0</IntegerElem></response>";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(glanceAt(whole.substr(0, length)).kind, MessageKind::unreadable) << length;
  }
  for (const char* text : {"", "hello", "<other/>", "<response>", "\xFF\xFE", "<response/><response/>"}) {
    EXPECT_EQ(glanceAt(text).kind, MessageKind::unreadable) << text;
  }
}

TEST(MessageGlance, BoundsTheReason) {
  EXPECT_EQ(glanceAt("<exception>" + std::string(1000000, 'x') + "</exception>").reason,
            std::string(1000, 'x'));
}

TEST(MessageGlance, PrintsNothing) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  glanceAt("<response><Dummy></response>");
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

}  // namespace
