// Reads: the calls of a host, separated by null bytes, with the virtual scanner.
// Checks: the library reads every reply; only a call that gets a response has an effect.
#include "JobProtocol.h"

#include "Check.h"
#include "LeakSweep.h"
#include "Messages.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const LeakSweep sweep;
  virtualscanner::JobProtocol protocol;
  std::string_view calls = textOf({bytes, size});
  for (int left = 8; left > 0 && !calls.empty(); --left) {  // a job takes five
    const std::string_view call = calls.substr(0, calls.find('\0'));
    calls.remove_prefix(std::min(calls.size(), call.size() + 1));
    const virtualscanner::Answer answer = protocol.answer(call, /*refuse*/ false);
    const std::unique_ptr<Element> reply = readMessage(answer.message);
    const bool response = reply->getChildRaw("messageType")->stringValue() == "response";
    check(response || answer.effect == virtualscanner::CallEffect::none);
  }
  return 0;
}
