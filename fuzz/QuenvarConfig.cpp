// Reads: the configuration file of the SANE back end.
// Checks: values in range, at most one complaint per line, blanks at the ends of lines ignored.
#include "QuenvarConfig.h"

#include "Check.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace frontend;
  std::string spaced;
  std::size_t lines = 1;
  for (const char c : textOf({bytes, size})) {
    lines += c == '\n';
    if (c == '\n') spaced += " \t\r";
    spaced += c;
  }
  const QuenvarConfig config = QuenvarConfig::parse(textOf({bytes, size}));
  const QuenvarConfig same = QuenvarConfig::parse(spaced);
  check(config.timeout >= limits::shortestTimeout && config.timeout <= limits::longestTimeout);
  check(config.complaints.size() + config.virtualOptions.faults.size() <= lines);
  check(same.complaints == config.complaints);
  check(same.timeout == config.timeout && same.virtualOptions.faults == config.virtualOptions.faults);
  return 0;
}
