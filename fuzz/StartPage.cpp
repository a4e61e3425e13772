// Reads: values of a request and of the configuration that the start page shows: language, address, name.
// Checks: nothing of it becomes markup.
#include "StartPage.h"

#include <algorithm>

#include "Check.h"
#include "Pieces.h"
#include "Target.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace frontend::share;
  const std::string_view text = textOf({bytes, size});
  const std::string_view language = text.substr(0, text.find('\n'));
  const std::string shown(text.substr(std::min(language.size() + 1, text.size())));
  const std::size_t end = std::min(shown.find('\n'), shown.size());
  const auto pageOf = [&](const std::string& name, const std::string& address) {
    return startPage({name, ScannerState::idle, address, false}, languageOf(language));
  };
  const std::string page = pageOf(shown.substr(end), shown.substr(0, end)), plain = pageOf("", "");
  for (const char markup : {'<', '>', '"', '\''})
    check(std::count(page.begin(), page.end(), markup) == std::count(plain.begin(), plain.end(), markup));
  return 0;
}
