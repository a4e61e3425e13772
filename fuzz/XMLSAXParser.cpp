// Reads: a message of the scanner, with the library's XML reader.
// Checks: one of three kinds; written and read again the same, unless its text is markup to a reader.
#include "Check.h"
#include "LeakSweep.h"
#include "Messages.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const LeakSweep sweep;
  const std::string_view text = textOf({bytes, size});
  const std::unique_ptr<Element> message = readMessage(text);
  if (message == nullptr) return 0;
  const std::string kind = message->getChildRaw("messageType")->stringValue();
  check(kind == "method" || kind == "response" || kind == "exception");
  check(message->getChildRaw("requestID")->instanceOf("StringElem"));
  // The writer escapes nothing.
  for (const char* markup : {"&", "'", "]]", "<!"})
    if (text.find(markup) != std::string_view::npos) return 0;
  const std::string written = writeResponse(*message);
  const std::unique_ptr<Element> again = readMessage(written);
  check(again != nullptr && writeResponse(*again->getChildRaw("result")) == written);
  return 0;
}
