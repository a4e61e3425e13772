// Reads: the configuration file of the network server.
// Checks: values in range, at most one complaint per line and one more, blanks at the ends of lines ignored.
#include "ShareConfig.h"

#include "AddressRules.h"
#include "Check.h"
#include "Pieces.h"
#include "ScanLimits.h"
#include "SettingText.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace frontend;
  std::string spaced;
  for (const char c : textOf({bytes, size})) spaced += c == '\n' ? " \t\r\n" : std::string(1, c);
  const auto lines = static_cast<std::size_t>(std::count(spaced.begin(), spaced.end(), '\n')) + 1;
  const auto config = share::ShareConfig::parse(textOf({bytes, size}), "share.conf");
  const auto same = share::ShareConfig::parse(spaced, "share.conf");
  check(config.complaints == same.complaints && config.complaints.size() <= lines + 1);
  for (const std::string& complaint : config.complaints) check(complaint == printable(complaint));
  for (const std::string& rule : config.allow) check(share::AddressRules::isRule(rule));
  check(config.timeout.value_or(limits::defaultTimeout) >= limits::shortestTimeout && config.port != 0);
  check(config.gammaHundredths.value_or(100) <= limits::highestGammaHundredths && config.name == same.name);
  return 0;
}
