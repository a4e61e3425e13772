#pragma once

#include <array>
#include <cstdint>

namespace frontend::share {

// Where an announcement stands between what is wanted and what the system's mDNS daemon does.
enum class AnnouncementState : std::uint8_t {
  absent,       // nothing is to be announced, and no daemon is ready
  idle,         // nothing is to be announced; the daemon is ready
  waiting,      // something is to be announced as soon as the daemon is ready
  registering,  // the daemon makes sure that nobody else on the network has the name
  announced,    // the network sees it
  refused,      // the daemon does not take it; another attempt would fail like this one
};

enum class AnnouncementEvent : std::uint8_t {
  publish,      // the scanner is there, or is described anew
  withdraw,     // the scanner is unplugged
  ready,        // the daemon runs and has settled its host's name
  lost,         // the daemon has stopped, restarts or changes its host's name: it has forgotten every record
  established,  // the name is ours
  collision,    // the name is another's
  failure,      // the daemon does not take the records
};
inline constexpr std::size_t announcementEvents = 7;

enum class AnnouncementAction : std::uint8_t {
  none,
  add,            // hand the records to the daemon
  remove,         // take them back
  addRenamed,     // hand them to the daemon under the next name
  reportName,     // the name under which the network sees the scanner
  reportRefusal,  // and its reason
};

struct AnnouncementStep {
  AnnouncementState next;
  AnnouncementAction action;

  bool operator==(const AnnouncementStep&) const = default;
};

namespace announcement {

using enum AnnouncementState;
using enum AnnouncementAction;

// What follows a state (row) and an event (column). An event that cannot happen in a state, such as the late
// word of a daemon on records that were taken back, leaves it as it is.
// clang-format off
inline constexpr std::array<std::array<AnnouncementStep, announcementEvents>, 6> steps = {{
  // publish               withdraw          ready                lost               established              collision                  failure
  {{ {waiting, none},      {absent, none},   {idle, none},        {absent, none},    {absent, none},          {absent, none},            {absent, none} }},             // absent
  {{ {registering, add},   {idle, none},     {idle, none},        {absent, none},    {idle, none},            {idle, none},              {idle, none} }},               // idle
  {{ {waiting, none},      {absent, none},   {registering, add},  {waiting, none},   {waiting, none},         {waiting, none},           {waiting, none} }},            // waiting
  {{ {registering, add},   {idle, remove},   {registering, none}, {waiting, remove}, {announced, reportName}, {registering, addRenamed}, {refused, reportRefusal} }},   // registering
  {{ {registering, add},   {idle, remove},   {announced, none},   {waiting, remove}, {announced, none},       {registering, addRenamed}, {refused, reportRefusal} }},   // announced
  {{ {registering, add},   {idle, remove},   {refused, none},     {waiting, remove}, {refused, none},         {refused, none},           {refused, none} }},            // refused
}};
// clang-format on

}  // namespace announcement

constexpr AnnouncementStep step(AnnouncementState state, AnnouncementEvent event) {
  return announcement::steps[static_cast<std::size_t>(state)][static_cast<std::size_t>(event)];
}

}  // namespace frontend::share
