#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "WorkerProtocol.h"

namespace {

using namespace frontend;
using State = WorkerProtocol::State;
using testing::ElementsAre;
using testing::HasSubstr;

const PictureLayout expected{10, 4, 3, 8, 75};  // 120 bytes
const PictureLayout other{11, 4, 3, 8, 75};

// A protocol in one of its states, before one event.
class Protocol : public testing::Test {
 protected:
  void isAwaitingLayout() { EXPECT_EQ(protocol.state(), State::awaitingLayout); }
  void isStreaming() {
    protocol.layout(expected);
    EXPECT_EQ(protocol.state(), State::streaming);
  }
  // With so many bytes of the picture.
  void isExplaining(std::size_t bytes) {
    isStreaming();
    protocol.bytes(bytes);
    protocol.imageClosed();
    EXPECT_EQ(protocol.state(), State::explaining);
  }
  void isExplainingWithoutALayout() {
    protocol.imageClosed();
    EXPECT_EQ(protocol.state(), State::explaining);
  }
  void expectEnd(ScanStatus status, const char* words) {
    EXPECT_EQ(protocol.state(), State::ended);
    EXPECT_EQ(protocol.outcome().status, status);
    EXPECT_THAT(protocol.outcome().sentence, HasSubstr(words));
    EXPECT_THAT(ends, ElementsAre(status)) << "reported once";
    EXPECT_FALSE(protocol.expectsMessages());
  }
  void expectMismatch() { expectEnd(ScanStatus::ioError, "do not match"); }

  std::vector<ScanStatus> ends;
  WorkerProtocol protocol{expected, [this](const ScanOutcome& outcome) { ends.push_back(outcome.status); }};
};

TEST_F(Protocol, EndsWellWithLayoutBytesOutcomeAndTheEndOfThePicture) {
  isAwaitingLayout();
  EXPECT_EQ(protocol.missingBytes(), 0U);
  protocol.layout(expected);
  EXPECT_EQ(protocol.layout(), expected);
  protocol.bytes(100);
  EXPECT_EQ(protocol.missingBytes(), 20U);
  protocol.outcome(outcome::good());
  EXPECT_EQ(protocol.state(), State::streaming) << "bytes may still be in the pipe";
  EXPECT_FALSE(protocol.expectsMessages());
  protocol.bytes(20);
  EXPECT_EQ(protocol.outcome().status, ScanStatus::cancelled) << "not known before the end";
  protocol.imageClosed();
  expectEnd(ScanStatus::good, "was scanned");
}

TEST_F(Protocol, AwaitingLayoutEndsWithTheOutcome) {
  protocol.outcome(outcome::busy());
  expectEnd(ScanStatus::busy, "in use");
}

TEST_F(Protocol, AwaitingLayoutTakesNoGoodOutcome) {
  protocol.outcome(outcome::good());
  expectEnd(ScanStatus::badData, "without sending a picture");
}

TEST_F(Protocol, AwaitingLayoutTakesNoBytes) {
  protocol.bytes(1);
  expectMismatch();
}

TEST_F(Protocol, AwaitingLayoutTakesNoGarbage) {
  protocol.garbage();
  expectMismatch();
}

TEST_F(Protocol, AwaitingLayoutTakesNoOtherLayout) {
  protocol.layout(other);
  expectEnd(ScanStatus::badData, "11 x 4 pixels, color");
  EXPECT_EQ(protocol.layout(), std::nullopt);
}

TEST_F(Protocol, AwaitingLayoutIsExplainedWhenAConnectionCloses) {
  protocol.controlClosed();
  EXPECT_EQ(protocol.state(), State::explaining);
  EXPECT_FALSE(protocol.expectsMessages());
}

TEST_F(Protocol, StreamingTakesNoSecondLayout) {
  isStreaming();
  protocol.layout(expected);
  expectMismatch();
}

TEST_F(Protocol, StreamingTakesNoGarbage) {
  isStreaming();
  protocol.garbage();
  expectMismatch();
}

TEST_F(Protocol, StreamingTakesNoByteTooMany) {
  isStreaming();
  protocol.bytes(120);
  EXPECT_EQ(protocol.state(), State::streaming);
  protocol.bytes(1);
  expectEnd(ScanStatus::badData, "more rows");
}

TEST_F(Protocol, StreamingGoesOnWithoutItsControlConnection) {
  isStreaming();
  protocol.controlClosed();
  EXPECT_EQ(protocol.state(), State::streaming);
  EXPECT_FALSE(protocol.expectsMessages());
  protocol.imageClosed();
  EXPECT_EQ(protocol.state(), State::explaining);
}

TEST_F(Protocol, ExplainingEndsWithTheOutcome) {
  isExplaining(50);
  EXPECT_TRUE(protocol.expectsMessages());
  protocol.outcome(outcome::noMemory());
  expectEnd(ScanStatus::noMemory, "not enough memory");
}

TEST_F(Protocol, ExplainingTakesAGoodOutcomeOfAWholePictureOnly) {
  isExplaining(59);  // one byte of the second row
  protocol.outcome(outcome::good());
  expectEnd(ScanStatus::badData, "incomplete: 1 of 4 rows");
}

TEST_F(Protocol, ExplainingStillTakesALayout) {
  isExplainingWithoutALayout();
  protocol.layout(expected);
  EXPECT_EQ(protocol.state(), State::explaining);
  protocol.outcome(outcome::good());
  expectEnd(ScanStatus::badData, "incomplete: 0 of 4 rows");
}

TEST_F(Protocol, ExplainingTakesNoSecondLayout) {
  isExplaining(120);
  protocol.layout(expected);
  expectMismatch();
}

TEST_F(Protocol, ExplainingTakesNoGarbage) {
  isExplaining(120);
  protocol.garbage();
  expectMismatch();
}

TEST_F(Protocol, ExplainingWaitsForNothingOnceTheControlConnectionIsClosed) {
  isExplaining(120);
  protocol.controlClosed();
  EXPECT_EQ(protocol.state(), State::explaining);
  EXPECT_FALSE(protocol.expectsMessages());
}

TEST_F(Protocol, EndsInEveryStateWhenTheFrontEndEndsIt) {
  protocol.end(outcome::cancelled());
  expectEnd(ScanStatus::cancelled, "cancelled");
}

TEST_F(Protocol, HasOneEnd) {
  protocol.end(outcome::workerDied("it was killed by signal 9"));
  protocol.layout(expected);
  protocol.bytes(1);
  protocol.garbage();
  protocol.outcome(outcome::good());
  protocol.controlClosed();
  protocol.imageClosed();
  protocol.end(outcome::cancelled());
  expectEnd(ScanStatus::ioError, "signal 9");
  EXPECT_EQ(protocol.layout(), std::nullopt);
}

}  // namespace
