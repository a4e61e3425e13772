// Reads: a message that passes through the worker.
// Checks: texts keep their limits; every message that the library accepts is of the same kind for both.
#include "MessageSummary.h"

#include "Check.h"
#include "LeakSweep.h"
#include "Messages.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const frontend::MessageSummary summary = frontend::summarize(textOf({bytes, size}));
  check(summary.method.size() <= 1000 && summary.reason.size() <= 1000);
  if (summary.kind == frontend::MessageKind::unreadable) return 0;
  const LeakSweep sweep;
  const std::unique_ptr<Element> message = readMessage(textOf({bytes, size}));
  if (message == nullptr) return 0;
  const std::string kind = message->getChildRaw("messageType")->stringValue();
  check((kind == "method") == (summary.kind == frontend::MessageKind::call));
  check((kind == "response") == (summary.kind == frontend::MessageKind::response));
  return 0;
}
