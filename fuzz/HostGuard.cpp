// Reads: the headers that identify who made a request: Host, Origin, Sec-Fetch-Site, -Mode, -Dest, in lines.
// Checks: more headers allow no more; letter case does not matter; a longer name is another name.
#include "HostGuard.h"

#include "Check.h"
#include "HeaderLines.h"
#include "SettingText.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace frontend::share;
  static const HostGuard guard({"myhost", "myhost.local"});
  RequestSource native = sourceIn(textOf({bytes, size}));
  const auto refusal = guard.refusalOf(native);
  check(!refusal || refusal->sentence == frontend::printable(refusal->sentence));
  native.origin = native.fetchSite = std::nullopt;
  check(refusal || !guard.refusalOf(native));
  const std::string host(native.host.value_or("")), otherCase = inOtherCase(host), longer = host + ".evil";
  if (native.host) native.host = otherCase;
  check(refusal || !guard.refusalOf(native));
  native.host = longer;
  check(guard.refusalOf(native).has_value());
  return 0;
}
