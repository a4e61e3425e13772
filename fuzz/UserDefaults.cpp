// Reads: the file of a user's defaults.
// Checks: at most one setting of each name, which reads back the same; or an error that names file and line.
#include "UserDefaults.h"

#include "Check.h"
#include "CommandError.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace frontend;
  try {
    const UserDefaults defaults = parseUserDefaults(textOf({bytes, size}), "config");
    std::string written;
    for (const auto& [name, value] : defaults.values) written += name + "=" + value + "\n";
    check(defaults.values.size() <= userDefaultNames().size());
    check(parseUserDefaults(written, "config").values == defaults.values);
  } catch (const UsageError& error) {
    const std::string_view message = error.what();
    check(message.starts_with("config:") && message[7] >= '1' && message[7] <= '9');
    for (const char character : message) check(character >= ' ' && character <= '~');
  }
  return 0;
}
