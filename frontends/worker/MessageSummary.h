#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace frontend {

enum class MessageKind : std::uint8_t { unreadable, call, response, exception };

// What decides over a job in one of its messages. The library's own reader drops the reason of an exception.
struct MessageSummary {
  MessageKind kind = MessageKind::unreadable;
  std::string method;            // that a call names
  bool hasResult = false;        // whether a response carries one
  bool hasDocumentType = false;  // then the rest is not read and the message counts as unreadable
  std::string reason;            // of an exception; without white space at its ends, may be empty
};

// Reads one message, without its packet header. Prints nothing; a text that is not a whole message is
// unreadable, and so is one that declares a document type: no scanner sends any, and its entities would make
// a message of a few hundred bytes one of megabytes. Throws std::bad_alloc alone. Any thread.
MessageSummary summarize(std::string_view message);

}  // namespace frontend
