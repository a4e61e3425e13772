#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace frontend {

enum class MessageKind : std::uint8_t { unreadable, call, response, exception };

// What a watcher needs to know of a message that passes by: its kind, which method a call names, whether a
// response carries a result, and what an exception says (which the library's reader drops).
struct MessageGlance {
  MessageKind kind = MessageKind::unreadable;
  std::string method;      // of a call
  bool hasResult = false;  // of a response
  std::string reason;      // of an exception; white space at the ends removed, may be empty
};

// Reads one message. Prints nothing and fails in no way: what is no whole message is unreadable.
MessageGlance glanceAt(std::string_view message);

}  // namespace frontend
