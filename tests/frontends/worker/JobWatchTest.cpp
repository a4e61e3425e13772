#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "WatchedJobDriver.h"
#include "WorkerTimes.h"

namespace {

using namespace frontend;
using platform::IOReturn;
using platform::kIOReturnIOError;
using platform::kIOReturnNoDevice;
using platform::kIOReturnSuccess;
using platform::kIOUSBPipeStalled;
using platform::kIOUSBTransactionTimeout;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::nullopt_t repeated = std::nullopt;  // a read, without notifying the library

class WatchedJob : public testing::Test, protected WatchedJobDriver {};

TEST_F(WatchedJob, IsGoodWithAWholePicture) {
  startJob();
  EXPECT_EQ(stream(packet(0xDD, smallHeader + "abcdefghijkl")), kIOReturnSuccess);
  EXPECT_EQ(failStream(kIOUSBTransactionTimeout), kIOUSBTransactionTimeout);
  EXPECT_EQ(status(), ScanStatus::good);
  EXPECT_NE(watch.state(), JobState::over);
}

TEST_F(WatchedJob, ShowsThePictureAsItComes) {
  startJob();
  const std::string whole = packet(0xDD, smallHeader + "abcdefghijkl");
  stream(whole.substr(0, 10));
  stream(whole.substr(10, 14));
  stream(whole.substr(24, 5));
  stream(whole.substr(29) + packet(0xDD, "too much") + packet(0xEE));
  EXPECT_THAT(picture.shown, ElementsAre("4x3", "abc", "defgh", "ijkl"));
  stream(packet(0xFF));
  EXPECT_EQ(picture.shown.back(), "whole");
}

TEST_F(WatchedJob, EndsThePictureWithTheEndOfTheJob) {
  startJob();
  EXPECT_EQ(stream(packet(0xDD, smallHeader + "abcdefghijkl") + packet(0xEE) + packet(0xFF)),
            kIOReturnSuccess);
  EXPECT_THAT(picture.shown, ElementsAre("4x3", "abcdefghijkl", "whole"));
  EXPECT_EQ(watch.beforeRead(pipes.reply), std::nullopt);
  EXPECT_EQ(watch.beforeRead(pipes.data), kIOUSBTransactionTimeout);
  EXPECT_FALSE(watch.mayBeAborted());
  EXPECT_TRUE(ask("done"));
  EXPECT_EQ(status(), ScanStatus::good);
}

TEST_F(WatchedJob, EndsAJobThatBringsNoPictureAtAll) {
  startJob();
  stream(packet(0xAA) + packet(0xFF));
  EXPECT_EQ(watch.beforeRead(pipes.data), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::badData);
  EXPECT_THAT(sentence(), HasSubstr("without sending a picture"));
}

TEST_F(WatchedJob, IsNotWholeWhereTheJobEndsTooEarly) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdef") + packet(0xFF));
  EXPECT_EQ(watch.beforeRead(pipes.data), kIOUSBTransactionTimeout);
  EXPECT_THAT(picture.shown, ElementsAre("4x3", "abcdef"));
  EXPECT_THAT(sentence(), HasSubstr("incomplete: 1 of 3 rows arrived"));
}

TEST_F(WatchedJob, EndsWithThePictureThatNobodyWants) {
  startJob();
  picture.refusal = outcome::noMemory();
  EXPECT_EQ(stream(packet(0xDD, smallHeader + "abc")), kIOReturnNoDevice);
  EXPECT_THAT(picture.shown, ElementsAre("4x3"));
  EXPECT_EQ(status(), ScanStatus::noMemory);
}

TEST_F(WatchedJob, EndsWhereNobodyTakesTheRows) {
  startJob();
  picture.wanted = false;
  EXPECT_EQ(stream(packet(0xDD, smallHeader + "abc")), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::cancelled);
}

TEST_F(WatchedJob, WaitsNoLongerThanItsPatience) {
  startJob();
  EXPECT_EQ(watch.timeoutsFor(pipes.reply, {15000, 60000}).noDataMs, 15000U);
  EXPECT_EQ(watch.timeoutsFor(pipes.reply, {0, 60000}).noDataMs, 60000U);
  EXPECT_EQ(watch.timeoutsFor(pipes.data, {15000, 60000}).noDataMs, 250U);
  EXPECT_EQ(watch.timeoutsFor(pipes.data, {15000, 60000}).completionMs, 60000U);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(failAnswer(kIOUSBTransactionTimeout), repeated);
  EXPECT_EQ(watch.timeoutsFor(pipes.reply, {0, 60000}).noDataMs, 15000U);
  EXPECT_EQ(failAnswer(kIOUSBTransactionTimeout), kIOUSBTransactionTimeout);
}

TEST_F(WatchedJob, IsOverWhereAWholePictureIsFollowedBySilence) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdefghijkl"));
  EXPECT_EQ(failStream(kIOUSBTransactionTimeout, 250), repeated);
  EXPECT_EQ(failStream(kIOUSBTransactionTimeout, 750), kIOUSBTransactionTimeout);
  EXPECT_NE(watch.state(), JobState::over);
  EXPECT_FALSE(watch.mayBeAborted());
}

TEST_F(WatchedJob, LetsEverythingPassOnOtherPipes) {
  EXPECT_EQ(watch.beforeRead(9), std::nullopt);
  EXPECT_EQ(watch.afterRead(9, kIOReturnIOError, nullptr, 0, 0), kIOReturnIOError);
  EXPECT_EQ(watch.afterWrite(9, kIOReturnIOError), kIOReturnIOError);
  EXPECT_NE(watch.state(), JobState::over);
}

TEST_F(WatchedJob, EndsWhereThePictureIsSilentBeyondPatience) {
  startJob();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(failStream(kIOUSBTransactionTimeout), repeated);
  EXPECT_EQ(failStream(kIOUSBTransactionTimeout), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::timedOut);
  EXPECT_THAT(sentence(), HasSubstr("no data for 60 seconds"));
}

TEST_F(WatchedJob, CountsSilenceAnewWhenBytesCome) {
  startJob();
  for (int i = 0; i < 3; ++i) failStream(kIOUSBTransactionTimeout);
  stream(packet(0xAA));
  for (int i = 0; i < 3; ++i) failStream(kIOUSBTransactionTimeout);
  EXPECT_NE(watch.state(), JobState::over);
}

TEST_F(WatchedJob, EndsWhereAStalledPipeWouldBeReadForEver) {
  startJob();
  for (int i = 0; i < 4; ++i) failStream(kIOUSBPipeStalled);
  EXPECT_EQ(status(), ScanStatus::ioError);
  EXPECT_THAT(sentence(), HasSubstr("0xE000404F, the pipe stalled"));
}

TEST_F(WatchedJob, EndsWhereEmptyReadsWouldNeverStop) {
  startJob();
  int reads = 0;
  while (stream("") == kIOReturnSuccess) ASSERT_LT(++reads, 10000);
  EXPECT_EQ(status(), ScanStatus::badData);
}

TEST_F(WatchedJob, EndsWhereTheStreamWouldNeverStop) {
  startJob();
  const std::string chunk = packet(0xAB, std::string(1 << 20, 'x'));
  int reads = 0;
  while (stream(chunk) == kIOReturnSuccess) ASSERT_LT(++reads, 10000);
  EXPECT_EQ(status(), ScanStatus::badData);
}

TEST_F(WatchedJob, TellsHowManyRowsOfAnIncompletePictureArrived) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdef") + packet(0xFF));
  watch.beforeRead(pipes.data);
  EXPECT_EQ(status(), ScanStatus::badData);
  EXPECT_THAT(sentence(), HasSubstr("incomplete: 1 of 3 rows arrived"));
}

TEST_F(WatchedJob, DoesNotCountAPacketThatIsNotWhole) {
  startJob();
  stream(packet(0xDD, smallHeader));
  stream(packet(0xDD, "abcdefghijklm").substr(0, 20));  // every row is there, the packet's last byte is not
  EXPECT_THAT(sentence(), HasSubstr("incomplete: 2 of 3 rows arrived"));
}

TEST_F(WatchedJob, TellsThatNoPictureCame) {
  startJob();
  stream(packet(0xDD) + packet(0xFF));
  EXPECT_EQ(watch.beforeRead(pipes.data), kIOUSBTransactionTimeout);
  EXPECT_EQ(status(), ScanStatus::badData);
  EXPECT_THAT(sentence(), HasSubstr("without sending a picture"));
}

TEST_F(WatchedJob, EndsAtOnceWithAWrongHeader) {
  startJob();
  EXPECT_EQ(stream(packet(0xDD, "GIF89a")), kIOReturnNoDevice);
  EXPECT_THAT(sentence(), HasSubstr("it begins with no header"));
}

TEST_F(WatchedJob, KeepsAPacketThatWouldNeverEndFromTheLibrary) {
  startJob();
  EXPECT_EQ(stream(packetHeader(0xDD, 0xFFFFFFF8)), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::badData);
  EXPECT_THAT(sentence(), HasSubstr("garbled"));
}

TEST_F(WatchedJob, KeepsSuchAPacketOutOfTheAnswersToo) {
  ask("create");
  EXPECT_EQ(answer(packetHeader(0xCC, 0xFFFFFFF8)), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::badData);
}

TEST_F(WatchedJob, KeepsUnreadableAnswersAfterThePictureFromTheLibrary) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdefghijkl"));
  failStream(kIOUSBTransactionTimeout);
  EXPECT_TRUE(ask("done"));
  EXPECT_EQ(answer(packet(0xCC, "garbage")), kIOReturnIOError);
  EXPECT_EQ(answer(packetHeader(0xCC, 0xFFFFFFF8)), kIOReturnIOError);
  EXPECT_EQ(status(), ScanStatus::good);
}

TEST_F(WatchedJob, EndsWhereCreateOrStartIsRefused) {
  ask("create");
  EXPECT_EQ(answer(exceptionReply("no paper")), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::refused);
  EXPECT_THAT(sentence(), HasSubstr("Its reason: \"no paper\"."));
  EXPECT_FALSE(ask("start"));
  EXPECT_EQ(watch.beforeRead(pipes.data), kIOReturnNoDevice);
}

TEST_F(WatchedJob, GoesOnWhereEnterIsRefused) {
  ask("enterHostUSBSendMode");
  EXPECT_EQ(answer(exceptionReply("already there")), kIOReturnSuccess);
  EXPECT_TRUE(ask("create"));
}

TEST_F(WatchedJob, GoesOnWhereTheLastCallsAreRefused) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdefghijkl"));
  failStream(kIOUSBTransactionTimeout);
  ask("done");
  EXPECT_EQ(answer(exceptionReply("why")), kIOReturnSuccess);
  EXPECT_EQ(status(), ScanStatus::good);
}

TEST_F(WatchedJob, EndsBeforeACallWhoseAnswerWouldBeTakenForAnothers) {
  ask("enterHostUSBSendMode");
  for (int i = 0; i < 4; ++i) failAnswer(kIOUSBTransactionTimeout);
  EXPECT_FALSE(ask("create"));
  EXPECT_EQ(status(), ScanStatus::timedOut);
  EXPECT_THAT(sentence(), HasSubstr("\"enterHostUSBSendMode\""));
}

TEST_F(WatchedJob, WaitsForThePictureWhereOnlyStartIsNotAnswered) {
  ask("create");
  answer(response("job1"));
  ask("start");
  failAnswer(kIOUSBTransactionTimeout);
  stream(packet(0xDD, smallHeader + "abcdefghijkl"));
  failStream(kIOUSBTransactionTimeout);
  EXPECT_EQ(status(), ScanStatus::good);
}

TEST_F(WatchedJob, EndsWithAnAnswerThatNamesNoJob) {
  ask("create");
  EXPECT_EQ(answer(packet(0xCC, "<response requestID=\"1\"></response>")), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::badData);
  EXPECT_THAT(sentence(), HasSubstr("\"create\""));
}

TEST_F(WatchedJob, TellsThatAnAnswerIsCut) {
  ask("create");
  const std::string reply = response("job1");
  answer(reply.substr(0, 20));
  EXPECT_TRUE(watch.answerIsCut(pipes.reply));
  EXPECT_FALSE(watch.answerIsCut(pipes.data));
  answer(reply.substr(20));
  EXPECT_FALSE(watch.answerIsCut(pipes.reply));
  EXPECT_TRUE(ask("start"));
}

TEST_F(WatchedJob, WaitsForNoRestOfAnAnswerOnceTheTimeOfTheLastCallsIsUp) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdefghijkl") + packet(0xFF));
  EXPECT_EQ(watch.beforeRead(pipes.data), kIOUSBTransactionTimeout);
  ask("done");
  answer(response("0").substr(0, 20));
  EXPECT_TRUE(watch.answerIsCut(pipes.reply));
  now += workertimes::finalCallsTimeout;
  EXPECT_FALSE(watch.answerIsCut(pipes.reply));
  EXPECT_EQ(status(), ScanStatus::good);
}

TEST_F(WatchedJob, EndsWhereATransferOfACallFails) {
  ask("create");
  EXPECT_EQ(watch.afterWrite(pipes.out, kIOUSBPipeStalled), kIOUSBPipeStalled);
  EXPECT_EQ(status(), ScanStatus::ioError);
}

TEST_F(WatchedJob, EndsWhereTheDeviceTakesNoCall) {
  ask("create");
  watch.afterWrite(pipes.out, kIOUSBTransactionTimeout);
  EXPECT_EQ(status(), ScanStatus::timedOut);
}

TEST_F(WatchedJob, EndsAStreamOfPacketsWithoutPayload) {
  startJob();
  std::string packets;
  for (int i = 0; i < 1000; ++i) packets += packet(0xDD);
  int reads = 0;
  while (stream(packets) == kIOReturnSuccess) ++reads;
  EXPECT_EQ(reads, 99);  // with the replies to the calls, 100,000 packets
  EXPECT_EQ(sentence(), outcome::garbledStream().sentence);
}

TEST_F(WatchedJob, EndsAStreamOfMessages) {
  startJob();
  int messages = 3;  // the replies to the calls
  while (stream(packet(0xCC, "garbage")) == kIOReturnSuccess) ++messages;
  EXPECT_EQ(messages, 1000);
  EXPECT_EQ(sentence(), outcome::garbledStream().sentence);
}

TEST_F(WatchedJob, KeepsMessagesWithADocumentTypeFromTheLibrary) {
  const std::string message = packet(0xCC, "<!DOCTYPE response><response/>");
  WatchedJobDriver calling;
  calling.ask("create");
  EXPECT_EQ(calling.answer(message), kIOReturnNoDevice);
  EXPECT_EQ(calling.sentence(), outcome::unreadableAnswer("create").sentence);
  startJob();
  EXPECT_EQ(stream(message), kIOReturnNoDevice);
  EXPECT_EQ(sentence(), outcome::garbledStream().sentence);
}

TEST_F(WatchedJob, EndsADripThatNeverIsSilentForLong) {
  startJob();
  const std::string page = packet(0xDD, smallHeader + std::string(5000, 'x'));
  std::size_t sent = 0;
  while (stream(page.substr(sent, 1)) == kIOReturnSuccess) ++sent, now += std::chrono::milliseconds(200);
  EXPECT_EQ(sent, 601U);  // two minutes
  EXPECT_EQ(sentence(), outcome::tooSlow(120000).sentence);
}

TEST_F(WatchedJob, EndsWhereTheDeviceIsGone) {
  ask("create");
  failAnswer(kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::noDevice);
  EXPECT_THAT(sentence(), HasSubstr("was disconnected"));
}

TEST_F(WatchedJob, KeepsTheFirstReason) {
  ask("create");
  answer(exceptionReply("no paper"));
  cancel.request();
  watch.beforeRead(pipes.data);
  EXPECT_EQ(status(), ScanStatus::refused);
}

TEST_F(WatchedJob, ForgetsImagePacketsInTheAnswersToTheFirstCalls) {
  ask("start");
  answer(packet(0xDD, smallHeader + "abcdefghijkl") + response("0"));
  stream(packet(0xDD) + packet(0xFF));
  watch.beforeRead(pipes.data);
  EXPECT_EQ(status(), ScanStatus::badData);
}

TEST_F(WatchedJob, CountsImagePacketsInTheLastAnswers) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdefgh") + packet(0xFF));
  watch.beforeRead(pipes.data);
  ask("done");
  answer(packet(0xDD, "ijkl") + response("0"));
  EXPECT_EQ(status(), ScanStatus::good);
  EXPECT_EQ(picture.shown.back(), "whole");
}

TEST_F(WatchedJob, AnswersACancelBeforeTheNextTransfer) {
  startJob();
  cancel.request();
  EXPECT_EQ(watch.beforeRead(pipes.data), kIOReturnNoDevice);
  EXPECT_EQ(status(), ScanStatus::cancelled);
}

TEST_F(WatchedJob, LetsTheLastCallsPassAfterACancel) {
  startJob();
  stream(packet(0xDD, smallHeader + "abcdefghijkl"));
  failStream(kIOUSBTransactionTimeout);
  cancel.request();
  EXPECT_TRUE(ask("done"));
  EXPECT_EQ(watch.beforeRead(pipes.reply), std::nullopt);
  EXPECT_EQ(status(), ScanStatus::cancelled);
}

TEST(ScanOutcome, ShowsADevicesTextAsOneLineOfPlainCharacters) {
  EXPECT_THAT(outcome::refused("lid\n\x1b[2Jopen").sentence, HasSubstr("\"lid??[2Jopen\""));
  EXPECT_THAT(outcome::refused(std::string(5000, 'x')).sentence, HasSubstr(std::string(120, 'x') + "...\""));
  EXPECT_THAT(outcome::refused("").sentence, testing::Not(HasSubstr("reason")));
}

}  // namespace
