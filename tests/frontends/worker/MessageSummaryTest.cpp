#include <gtest/gtest.h>

#include <string>

#include "MessageSummary.h"
#include "Packets.h"

namespace {

using frontend::MessageKind;
using frontend::MessageSummary;
using frontend::summarize;

std::string payloadOf(const std::string& packet) {
  return packet.substr(wire::packetHeaderSize);
}

TEST(MessageSummary, NamesTheMethodOfACall) {
  const MessageSummary summary = summarize(payloadOf(call("create")));
  EXPECT_EQ(summary.kind, MessageKind::call);
  EXPECT_EQ(summary.method, "create");
}

TEST(MessageSummary, IgnoresMethodsDeeperInTheCall) {
  const MessageSummary summary = summarize(
      "<method name=\"callMethod\"><arg name=\"method\">start</arg><arg name=\"params\"><MapElem><child "
      "name=\"method\">no</child></MapElem></arg></method>");
  EXPECT_EQ(summary.method, "start");
}

TEST(MessageSummary, SeesTheResultOfAResponse) {
  const MessageSummary summary = summarize(payloadOf(response("job1")));
  EXPECT_EQ(summary.kind, MessageKind::response);
  EXPECT_TRUE(summary.hasResult);
}

TEST(MessageSummary, SeesThatAResponseHasNoResult) {
  EXPECT_FALSE(summarize("<response requestID=\"1\"> </response>").hasResult);
}

TEST(MessageSummary, TakesTheReasonOfAnExceptionWithoutItsBlanks) {
  const MessageSummary summary = summarize(payloadOf(exceptionReply("\r\n  no paper\r\n")));
  EXPECT_EQ(summary.kind, MessageKind::exception);
  EXPECT_EQ(summary.reason, "no paper");
}

TEST(MessageSummary, TakesTheReasonThatStandsInTheExceptionItself) {
  EXPECT_EQ(summarize("<exception requestID=\"1\">lid open</exception>").reason, "lid open");
}

TEST(MessageSummary, KnowsTagsByTwoCharactersAsTheLibraryDoes) {
  EXPECT_EQ(summarize("<reply><StringElem>x</StringElem></reply>").kind, MessageKind::response);
}

TEST(MessageSummary, CallsEverythingElseUnreadable) {
  const std::string whole = "<response requestID=\"1\"><IntegerElem>0</IntegerElem></response>";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(summarize(whole.substr(0, length)).kind, MessageKind::unreadable) << length;
  }
  for (const char* text : {"", "hello", "<other/>", "<response>", "\xFF\xFE", "<response/><response/>"}) {
    EXPECT_EQ(summarize(text).kind, MessageKind::unreadable) << text;
  }
}

TEST(MessageSummary, CallsAMessageWithADocumentTypeUnreadableAndReadsNoFurther) {
  std::string entities = "<!ENTITY e0 'ha'>";
  for (int i = 1; i < 40; ++i) {
    const std::string previous = "&e" + std::to_string(i - 1) + ";";
    entities += "<!ENTITY e" + std::to_string(i) + " '" + previous + previous + "'>";
  }
  for (const std::string& text : {std::string("<!DOCTYPE exception><exception>lid</exception>"),
                                  "<!DOCTYPE response [" + entities + "]><response>&e39;</response>"}) {
    const MessageSummary summary = summarize(text);
    EXPECT_TRUE(summary.hasDocumentType);
    EXPECT_EQ(summary.kind, MessageKind::unreadable);
    EXPECT_EQ(summary.reason, "");
  }
  EXPECT_FALSE(summarize("<response/>").hasDocumentType);
}

TEST(MessageSummary, BoundsTheReason) {
  EXPECT_EQ(summarize("<exception>" + std::string(1000000, 'x') + "</exception>").reason,
            std::string(1000, 'x'));
}

TEST(MessageSummary, PrintsNothing) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  summarize("<response><Dummy></response>");
  EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
}

}  // namespace
