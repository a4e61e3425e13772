#include <gtest/gtest.h>
#include <unistd.h>

#include <new>
#include <string_view>

#include "MallocFaults.h"
#include "MessageSummary.h"

namespace {

using frontend::MessageKind;

// Exits with the number of the first allocation whose failure makes the reply unreadable, 0 for none. Runs in
// a process of its own.
[[noreturn]] void readRepliesWithoutMemory() {
  constexpr std::string_view reply =
      "<response requestID=\"1\"><StringElem>HostSendJob1</StringElem></response>";
  bool failed = true;
  for (int n = 1; failed; ++n) {
    MessageKind kind = MessageKind::response;
    const MallocFaults faults = MallocFaults::nth(n);
    try {
      kind = frontend::summarize(reply).kind;
    } catch (const std::bad_alloc&) {
    }
    if (kind != MessageKind::response) _exit(n);
    failed = faults.happened();
  }
  _exit(0);
}

// The parser's own allocations too: the user would switch the scanner off and on for a reply that was fine.
TEST(MessageWithoutMemory, IsNoUnreadableOne) {
  EXPECT_EXIT(readRepliesWithoutMemory(), testing::ExitedWithCode(0), "");
}

}  // namespace
