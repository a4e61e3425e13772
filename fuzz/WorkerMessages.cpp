// Reads: the messages between a front end and its worker.
// Checks: each message has one form: one that was read is written back byte for byte.
#include "WorkerMessages.h"

#include "Check.h"
#include "Pieces.h"
#include "Reports.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string_view text = textOf({bytes, size});
  if (const auto request = frontend::readRequest(text)) check(frontend::requestMessage(*request) == text);
  if (const auto report = frontend::readReport(text)) check(frontend::reportMessage(*report) == text);
  if (const auto reply = frontend::readListReply(text)) check(frontend::replyMessage(*reply) == text);
  return 0;
}
