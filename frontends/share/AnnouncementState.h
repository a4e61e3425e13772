#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace frontend::share {

// The state of an announcement: whether one is wanted, and what the system's mDNS daemon has done.
enum class AnnouncementState : std::uint8_t {
  absent,       // nothing is to be announced, and no daemon is ready
  idle,         // nothing is to be announced; the daemon is ready
  waiting,      // something is to be announced as soon as the daemon is ready
  registering,  // the daemon checks that no one else on the network has the name
  announced,    // visible on the network
  refused,      // the daemon rejects it, and would reject another attempt
};

enum class AnnouncementEvent : std::uint8_t {
  publish,      // the scanner is plugged in, or its description has changed
  withdraw,     // the scanner is unplugged
  ready,        // the daemon runs and has settled its host's name
  lost,         // the daemon has stopped, restarts or changes its host's name: it has forgotten every record
  established,  // the name is registered
  collision,    // the name is in use by another
  failure,      // the daemon rejects the records
};

enum class AnnouncementAction : std::uint8_t {
  none,
  add,            // pass the records to the daemon
  remove,         // withdraw them
  addRenamed,     // pass them to the daemon under the next name
  reportName,     // the name under which the scanner is visible
  reportRefusal,  // and its reason
};

struct AnnouncementStep {
  AnnouncementState next;
  AnnouncementAction action;

  bool operator==(const AnnouncementStep&) const = default;
};

namespace announcement {

using Step = std::optional<AnnouncementStep>;  // none leaves the state as it is
using State = AnnouncementState;
using Action = AnnouncementAction;

inline constexpr Step stay = std::nullopt;
inline constexpr Step rest = AnnouncementStep{State::idle, Action::none};
inline constexpr Step wait = AnnouncementStep{State::waiting, Action::none};
inline constexpr Step leave = AnnouncementStep{State::absent, Action::none};
inline constexpr Step begin = AnnouncementStep{State::registering, Action::add};
inline constexpr Step rename = AnnouncementStep{State::registering, Action::addRenamed};
inline constexpr Step recall = AnnouncementStep{State::idle, Action::remove};
inline constexpr Step suspend = AnnouncementStep{State::waiting, Action::remove};
inline constexpr Step succeed = AnnouncementStep{State::announced, Action::reportName};
inline constexpr Step fail = AnnouncementStep{State::refused, Action::reportRefusal};

// An event that cannot happen in a state, such as a daemon's late report on withdrawn records, is ignored.
// clang-format off
inline constexpr std::array<std::array<Step, 6>, 7> table = {{
  //                 absent  idle    waiting  registering  announced  refused
  /* publish     */ {wait,   begin,  stay,    begin,       begin,     begin},
  /* withdraw    */ {stay,   stay,   leave,   recall,      recall,    recall},
  /* ready       */ {rest,   stay,   begin,   stay,        stay,      stay},
  /* lost        */ {stay,   leave,  stay,    suspend,     suspend,   suspend},
  /* established */ {stay,   stay,   stay,    succeed,     stay,      stay},
  /* collision   */ {stay,   stay,   stay,    rename,      rename,    stay},
  /* failure     */ {stay,   stay,   stay,    fail,        fail,      stay},
}};
// clang-format on

}  // namespace announcement

constexpr AnnouncementStep step(AnnouncementState state, AnnouncementEvent event) {
  const announcement::Step& cell =
      announcement::table[static_cast<std::size_t>(event)][static_cast<std::size_t>(state)];
  return cell.value_or(AnnouncementStep{state, AnnouncementAction::none});
}

}  // namespace frontend::share
