#include <gtest/gtest.h>

#include <string>

#include "AllocationFaults.h"
#include "ScanJob.h"

namespace {

// Passes one control message to the callback and returns the job name afterwards, which was "before".
std::string nameAfter(std::string message, int length) {
  glJobName = "before";
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  _MY_ControlData(message.data(), length, nullptr);
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  return glJobName;
}

std::string nameAfter(const std::string& message) {
  return nameAfter(message, static_cast<int>(message.size()));
}

TEST(ControlData, TakesTheResultOfAResponse) {
  EXPECT_EQ(nameAfter("<response requestID=\"1\"><StringElem>job7</StringElem></response>"), "job7");
  EXPECT_EQ(nameAfter("<response><IntegerElem>42</IntegerElem></response>"), "42");
  EXPECT_EQ(nameAfter("<response><BooleanElem>yes</BooleanElem></response>"), "true");
  EXPECT_EQ(nameAfter("<response><StringElem></StringElem></response>"), "");
  EXPECT_EQ(nameAfter("<response><NullElem/></response>"), "");
}

TEST(ControlData, ReadsOnlyTheLengthThatItIsGiven) {
  const std::string message = "<response><StringElem>a</StringElem></response>";
  EXPECT_EQ(nameAfter(message + "garbage<", static_cast<int>(message.size())), "a");
}

TEST(ControlData, IgnoresWhatIsNoResponse) {
  EXPECT_EQ(nameAfter("<exception requestID=\"1\"><message>paper jam</message></exception>"), "before");
  EXPECT_EQ(nameAfter("<exception><StringElem>x</StringElem></exception>"), "before");
  EXPECT_EQ(nameAfter("<method name=\"m\"><arg name=\"result\">x</arg></method>"), "before");
}

TEST(ControlData, IgnoresWhatItCannotRead) {
  EXPECT_EQ(nameAfter(""), "before");
  EXPECT_EQ(nameAfter("x", -1), "before");
  EXPECT_EQ(nameAfter("garbage"), "before");
  EXPECT_EQ(nameAfter("<response><StringElem>a</Wrong>"), "before");
  EXPECT_EQ(nameAfter("<response requestID=\"1\"><StringElem>a</StringElem>"), "before");  // truncated
  EXPECT_EQ(nameAfter("<StringElem>a</StringElem>"), "before");
  EXPECT_EQ(nameAfter(std::string("\0\0\0", 3)), "before");
}

TEST(ControlData, IgnoresAResponseWithoutAResultOrWithoutText) {
  EXPECT_EQ(nameAfter("<response requestID=\"1\"></response>"), "before");
  EXPECT_EQ(nameAfter("<response><ListElem></ListElem></response>"), "before");
  EXPECT_EQ(nameAfter("<response><MapElem></MapElem></response>"), "before");
  EXPECT_EQ(nameAfter("<response><BinaryElem>AAAA</BinaryElem></response>"), "before");
  EXPECT_EQ(nameAfter("<response><CompositeElem></CompositeElem></response>"), "before");
}

TEST(ControlData, IgnoresIntegersThatAreNone) {
  EXPECT_EQ(nameAfter("<response><IntegerElem>twelve</IntegerElem></response>"), "before");
  EXPECT_EQ(nameAfter("<response><ListElem><IntegerElem>x</IntegerElem></ListElem></response>"), "before");
}

TEST(ControlData, IgnoresAResponseThatEndedBeforeAnError) {
  EXPECT_EQ(nameAfter("<a><response><StringElem>x</StringElem></response></b>"), "before");
  EXPECT_EQ(nameAfter("<a><response><StringElem>x</StringElem></response><IntegerElem>y</IntegerElem></a>"),
            "before");
}

TEST(ControlData, KeepsNothingOfWhatItRead) {
  for (std::string message :
       {"<response><StringElem>x</StringElem></response>", "<response><ListElem></ListElem></response>",
        "<exception><StringElem>x</StringElem></exception>", "<response><StringElem>cut off",
        "<response><IntegerElem>x</IntegerElem></response>",
        "<a><response><StringElem>x</StringElem></response><IntegerElem>y</IntegerElem></a>"}) {
    nameAfter(message);  // whatever is made once is there now
    glJobName.clear();
    testing::internal::CaptureStdout();
    const long before = AllocationFaults::blocksHeld();
    _MY_ControlData(message.data(), static_cast<int>(message.size()), nullptr);
    const long after = AllocationFaults::blocksHeld();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(after, before) << message;
  }
}

TEST(FramingCallbacks, DoNothing) {
  glJobName = "before";
  _MY_ImageBeginJob(nullptr);
  _MY_ImageBeginJobPage(nullptr);
  _MY_ImageEndJobPage(nullptr);
  _MY_ImageEndJob(nullptr);
  EXPECT_EQ(glJobName, "before");
}

}  // namespace
