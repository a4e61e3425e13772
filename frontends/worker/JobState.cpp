#include "JobState.h"

#include <array>
#include <cstddef>

namespace frontend {
namespace {

constexpr std::size_t states = 8;
constexpr std::size_t events = 21;

// One row of the table: what follows each state. The last column, for a job that is over, is the same in all.
using Row = std::array<JobState, states>;

constexpr JobState calling = JobState::calling;
constexpr JobState asking = JobState::awaitingAnswer;
constexpr JobState waiting = JobState::awaitingPicture;
constexpr JobState receiving = JobState::receiving;
constexpr JobState empty = JobState::endedEmpty;
constexpr JobState delivered = JobState::delivered;
constexpr JobState leaving = JobState::leaving;
constexpr JobState over = JobState::over;

// clang-format off
constexpr std::array<Row, events> table = {{
    /* call              */ {asking,  over,    waiting,   receiving, empty,     delivered, leaving, over},
    /* answer            */ {calling, calling, waiting,   receiving, empty,     delivered, leaving, over},
    /* refusal           */ {over,    over,    waiting,   receiving, empty,     delivered, leaving, over},
    /* unreadableAnswer  */ {over,    over,    waiting,   receiving, empty,     delivered, leaving, over},
    /* callTimedOut      */ {over,    over,    waiting,   receiving, empty,     delivered, leaving, over},
    /* callFailed        */ {over,    over,    waiting,   receiving, empty,     delivered, leaving, over},
    /* deviceGone        */ {over,    over,    over,      over,      over,      over,      leaving, over},
    /* dataRead          */ {waiting, waiting, waiting,   receiving, over,      leaving,   leaving, over},
    /* imagePacket       */ {calling, asking,  receiving, receiving, delivered, delivered, leaving, over},
    /* jobEnd            */ {calling, asking,  empty,     delivered, empty,     delivered, leaving, over},
    /* dataFailed        */ {calling, asking,  waiting,   leaving,   empty,     leaving,   leaving, over},
    /* dataKeepsFailing  */ {calling, asking,  over,      leaving,   over,      leaving,   leaving, over},
    /* silence           */ {calling, asking,  over,      over,      over,      over,      leaving, over},
    /* overdue           */ {over,    over,    over,      over,      over,      delivered, leaving, over},
    /* quietEnd          */ {calling, asking,  waiting,   leaving,   empty,     leaving,   leaving, over},
    /* garbled           */ {over,    over,    over,      over,      over,      over,      leaving, over},
    /* unreadablePicture */ {calling, asking,  over,      over,      over,      over,      leaving, over},
    /* refusedPicture    */ {calling, asking,  over,      over,      over,      over,      over,    over},
    /* unwantedRows      */ {calling, asking,  over,      over,      over,      over,      over,    over},
    /* cancel            */ {over,    over,    over,      over,      over,      delivered, leaving, over},
    /* outOfMemory       */ {over,    over,    over,      over,      over,      over,      leaving, over},
}};
// clang-format on

static_assert(static_cast<std::size_t>(JobState::over) + 1 == states);
static_assert(static_cast<std::size_t>(JobEvent::outOfMemory) + 1 == events);

}  // namespace

JobState next(JobState state, JobEvent event) {
  return table[static_cast<std::size_t>(event)][static_cast<std::size_t>(state)];
}

bool isWithheld(JobState state, JobEvent event) {
  return state == leaving && (event == JobEvent::unreadableAnswer || event == JobEvent::garbled);
}

bool takesPicture(JobState state) {
  return state != calling && state != asking && state != over;
}

}  // namespace frontend
