#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "JobState.h"
#include "WatchedJobDriver.h"

namespace {

using namespace frontend;
using namespace std::chrono_literals;
using platform::kIOReturnIOError;
using platform::kIOReturnNoDevice;
using platform::kIOReturnNoMemory;
using platform::kIOReturnSuccess;
using platform::kIOUSBPipeStalled;
using platform::kIOUSBTransactionTimeout;

const std::string rows = "abcdefghijkl";  // of smallHeader
const std::string wholePicture = packet(0xDD, smallHeader + rows);
const std::string emptyImagePacket = packet(0xDD);

constexpr const char* names[] = {"calling",    "awaitingAnswer", "awaitingPicture", "receiving",
                                 "endedEmpty", "delivered",      "leaving",         "over"};

std::string nameOf(JobState state) {
  return names[static_cast<std::size_t>(state)];
}

// Brings a job to a state, with a picture of which not even the header has arrived.
void bringTo(JobState state, WatchedJobDriver& job) {
  job.ask("start");
  if (state == JobState::awaitingAnswer) return;
  job.answer(response("0"));
  if (state == JobState::calling) return;
  job.watch.beforeRead(pipes.data);
  if (state == JobState::awaitingPicture) return;
  if (state != JobState::endedEmpty) job.stream(emptyImagePacket);
  if (state == JobState::receiving) return;
  job.read(pipes.data, packet(0xFF));
  if (state == JobState::leaving) job.watch.beforeRead(pipes.data);
}

// One row of the table: what follows each state, and how transfers raise the event. A state in brackets can
// be read off the table alone: no transfer raises this event there.
struct Row {
  const char* name;
  JobEvent event;
  const char* follows;
  std::function<void(WatchedJobDriver&)> raise;
  ScanOutcome outcome;  // where the job is over
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

const ScanOutcome none{};

const Row table[] = {
    {"Call", JobEvent::call, "awaitingAnswer over - - - - -", [](auto& job) { job.ask("create"); },
     outcome::noAnswer("start")},
    {"Answer", JobEvent::answer, "- calling - - - - -", [](auto& job) { job.answer(response("0")); }, none},
    {"Refusal", JobEvent::refusal, "over over - - - - -",
     [](auto& job) { job.answer(exceptionReply("lid open")); }, outcome::refused("lid open")},
    {"UnreadableAnswer", JobEvent::unreadableAnswer, "over over - - - - -",
     [](auto& job) { job.answer(packet(0xCC, "garbage")); }, outcome::unreadableAnswer("start")},
    {"CallTimedOut", JobEvent::callTimedOut, "over over - - - - -",
     [](auto& job) { job.watch.afterWrite(pipes.out, kIOUSBTransactionTimeout); },
     outcome::noAnswer("start")},
    {"CallFailed", JobEvent::callFailed, "over over - - - - -",
     [](auto& job) { job.failAnswer(kIOUSBPipeStalled); }, outcome::transferFailed(kIOUSBPipeStalled)},
    {"DeviceGone", JobEvent::deviceGone, "over over over over over over -",
     [](auto& job) { job.failAnswer(kIOReturnNoDevice); }, outcome::wentAway()},
    {"DataRead", JobEvent::dataRead, "awaitingPicture awaitingPicture - - over leaving -",
     [](auto& job) { job.watch.beforeRead(pipes.data); }, outcome::noPicture()},
    {"ImagePacket", JobEvent::imagePacket, "- - receiving - delivered - -",
     [](auto& job) { job.answer(emptyImagePacket); }, none},
    {"JobEnd", JobEvent::jobEnd, "- - endedEmpty delivered - - -",
     [](auto& job) { job.answer(packet(0xFF)); }, none},
    {"DataFailed", JobEvent::dataFailed, "- - - leaving - leaving -",
     [](auto& job) { job.watch.afterRead(pipes.data, kIOUSBPipeStalled, nullptr, 0, 250); }, none},
    {"DataKeepsFailing", JobEvent::dataKeepsFailing, "- - over leaving over leaving -",
     [](auto& job) {
       for (int i = 0; i < 4; ++i) job.watch.afterRead(pipes.data, kIOUSBPipeStalled, nullptr, 0, 250);
     },
     outcome::transferFailed(kIOUSBPipeStalled)},
    {"Silence", JobEvent::silence, "- - over over over over -",
     [](auto& job) { job.watch.afterRead(pipes.data, kIOUSBTransactionTimeout, nullptr, 0, 60000); },
     outcome::silent(60000)},
    {"Overdue", JobEvent::overdue, "over over over over over - -",
     [](auto& job) {
       job.now += job.watch.timeLimit() + 1ms;
       job.answer(packet(0xBB));
     },
     outcome::tooSlow(120000)},
    {"QuietEnd", JobEvent::quietEnd, "[-] [-] [-] leaving [-] leaving -",
     [](auto& job) {
       job.read(pipes.data, wholePicture);
       job.watch.afterRead(pipes.data, kIOUSBTransactionTimeout, nullptr, 0, 1000);
     },
     none},
    {"Garbled", JobEvent::garbled, "over over over over over over -",
     [](auto& job) { job.answer(packetHeader(0xDD, 0xFFFFFFF8)); }, outcome::garbledStream()},
    {"UnreadablePicture", JobEvent::unreadablePicture, "- - over over over over -",
     [](auto& job) { job.answer(packet(0xDD, "GIF89a")); },
     outcome::unreadablePicture("it begins with no header")},
    {"RefusedPicture", JobEvent::refusedPicture, "- - over over over over over",
     [](auto& job) {
       job.picture.refusal = outcome::busy();
       job.answer(packet(0xDD, smallHeader));
     },
     outcome::busy()},
    {"UnwantedRows", JobEvent::unwantedRows, "- - over over over over over",
     [](auto& job) {
       job.picture.wanted = false;
       job.answer(wholePicture);
     },
     outcome::cancelled()},
    {"Cancel", JobEvent::cancel, "over over over over over - -",
     [](auto& job) {
       job.cancel.request();
       job.watch.beforeRead(pipes.reply);
     },
     outcome::cancelled()},
    {"OutOfMemory", JobEvent::outOfMemory, "over over over over over over -",
     [](auto& job) { job.watch.noteOutOfMemory(); }, outcome::noMemory()},
};

class JobTable : public testing::TestWithParam<Row> {
 protected:
  void expectCell(JobState state, std::string cell) {
    const bool raisable = cell.front() != '[';
    if (!raisable) cell = cell.substr(1, cell.size() - 2);
    const std::string expected = cell == "-" ? nameOf(state) : cell;
    EXPECT_EQ(nameOf(next(state, GetParam().event)), expected) << "after " << nameOf(state);
    if (raisable) expectTransfers(state, expected);
  }

  // The same through the transfers that raise the event.
  void expectTransfers(JobState state, const std::string& expected) {
    WatchedJobDriver job;
    bringTo(state, job);
    ASSERT_EQ(nameOf(job.watch.state()), nameOf(state));
    GetParam().raise(job);
    EXPECT_EQ(nameOf(job.watch.state()), expected) << "after " << nameOf(state);
    if (expected != "over") return;
    EXPECT_EQ(job.sentence(), GetParam().outcome.sentence) << "after " << nameOf(state);
  }
};

TEST_P(JobTable, FollowsItsRow) {
  std::istringstream cells(GetParam().follows);
  for (std::size_t state = 0; state < 7; ++state) {
    std::string cell;
    ASSERT_TRUE(cells >> cell);
    expectCell(static_cast<JobState>(state), cell);
  }
}

TEST_P(JobTable, LeavesAJobThatIsOver) {
  EXPECT_EQ(next(JobState::over, GetParam().event), JobState::over);
  WatchedJobDriver job;
  job.ask("create");
  job.failAnswer(kIOReturnNoDevice);
  GetParam().raise(job);
  EXPECT_EQ(job.sentence(), outcome::wentAway().sentence);
}

INSTANTIATE_TEST_SUITE_P(Events, JobTable, testing::ValuesIn(table),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(JobTable, HasARowForEveryEvent) {
  EXPECT_EQ(std::size(table), static_cast<std::size_t>(JobEvent::outOfMemory) + 1);
  for (std::size_t i = 0; i < std::size(table); ++i)
    EXPECT_EQ(static_cast<std::size_t>(table[i].event), i) << table[i].name;
}

// The notes below the table.

TEST(JobTableNotes, AnUnansweredCallIsUnreadableWhereAPartOfTheAnswerHasArrived) {
  WatchedJobDriver job;
  job.ask("create");
  job.answer(response("job1").substr(0, 20));
  job.ask("start");
  EXPECT_EQ(job.sentence(), outcome::unreadableAnswer("create").sentence);
}

TEST(JobTableNotes, OnlyALeavingJobKeepsBytesFromTheLibraryAndGoesOn) {
  for (const std::string& bytes : {packet(0xCC, "garbage"), packetHeader(0xCC, 0xFFFFFFF8)}) {
    WatchedJobDriver job;
    bringTo(JobState::leaving, job);
    EXPECT_EQ(job.answer(bytes), kIOReturnIOError);
    EXPECT_EQ(job.watch.state(), JobState::leaving);
  }
  WatchedJobDriver reading;
  bringTo(JobState::receiving, reading);
  EXPECT_EQ(reading.stream(packet(0xCC, "garbage")), kIOReturnSuccess);
}

TEST(JobTableNotes, TheReadAfterADeliveredPictureTimesOutAtOnce) {
  WatchedJobDriver job;
  bringTo(JobState::delivered, job);
  EXPECT_EQ(job.watch.beforeRead(pipes.data), kIOUSBTransactionTimeout);
  EXPECT_EQ(job.watch.beforeRead(pipes.reply), std::nullopt) << "the last calls";
}

TEST(JobTableNotes, ALibraryThatMissedThePictureIsNotLeftWaitingForIt) {
  WatchedJobDriver job;
  bringTo(JobState::awaitingPicture, job);
  job.read(pipes.data, wholePicture);
  EXPECT_EQ(job.watch.noteOutOfMemory(), kIOReturnIOError) << "instead of the bytes";
  EXPECT_EQ(job.watch.beforeRead(pipes.data), kIOReturnNoDevice);
  EXPECT_EQ(job.status(), ScanStatus::good);
}

TEST(JobTableNotes, AStackWithoutMemoryEndsTheJobAsWell) {
  WatchedJobDriver reading;
  bringTo(JobState::receiving, reading);
  EXPECT_EQ(reading.failStream(kIOReturnNoMemory), kIOReturnNoDevice);
  EXPECT_EQ(reading.status(), ScanStatus::noMemory);
  WatchedJobDriver writing;
  writing.ask("create");
  EXPECT_EQ(writing.watch.afterWrite(pipes.out, kIOReturnNoMemory), kIOReturnNoDevice);
  EXPECT_EQ(writing.status(), ScanStatus::noMemory);
}

TEST(JobTableNotes, AWholePictureSurvivesAnAllocationThatFails) {
  for (const JobState state : {JobState::receiving, JobState::delivered, JobState::leaving}) {
    WatchedJobDriver job;
    bringTo(state, job);
    job.read(pipes.data, wholePicture);
    EXPECT_EQ(job.watch.noteOutOfMemory(), kIOReturnIOError);
    EXPECT_EQ(job.watch.state(), JobState::leaving);
    EXPECT_EQ(job.status(), ScanStatus::good);
  }
}

}  // namespace
