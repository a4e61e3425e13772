#include "UserDefaults.h"

#include <algorithm>
#include <cstdlib>
#include <system_error>

#include "Choices.h"
#include "CommandError.h"
#include "NearestName.h"
#include "OptionValues.h"
#include "PaperSize.h"
#include "RegularFile.h"
#include "ScannerName.h"
#include "SettingText.h"

namespace frontend {
namespace {

constexpr std::size_t largestFile = 64 * 1024;

void checkDevice(const std::string& value) {
  if (!parseScannerName(value)) throw ValueError("this is not the name of a scanner. See q750 list.");
}

template <auto read>
void checkWith(const std::string& value) {
  read(value);
}

struct Setting {
  std::string_view name;              // of the option
  void (*check)(const std::string&);  // throws ValueError
};

// The options that make sense as defaults. Not among them: what belongs to one scan (the file, its pages, the
// area), the format, which the extension of the file selects, and what only tests use.
constexpr Setting settings[] = {
    {"device", checkDevice},
    {"resolution", checkWith<optionvalue::resolution>},
    {"mode", checkWith<optionvalue::mode>},
    {"threshold", checkWith<optionvalue::threshold>},
    {"brightness", checkWith<optionvalue::tonePercent>},
    {"contrast", checkWith<optionvalue::tonePercent>},
    {"gamma", checkWith<optionvalue::gamma>},
    {"paper", checkWith<areaOfPaper>},
    {"rotate", checkWith<optionvalue::rotation>},
    {"quality", checkWith<optionvalue::quality>},
    {"progress", checkWith<optionvalue::progress>},
    {"timeout", checkWith<optionvalue::timeout>},
};

void checkSetting(const std::string& name, const std::string& value) {
  const auto setting = std::find_if(std::begin(settings), std::end(settings),
                                    [&](const Setting& known) { return known.name == name; });
  if (setting != std::end(settings)) return setting->check(value);
  const auto nearest = nearestName(name, userDefaultNames());
  throw ValueError("unknown setting. " + (nearest ? "Did you mean " + std::string(*nearest) + "?"
                                                  : "Choose " + listOf(userDefaultNames()) + "."));
}

// Adds the setting of a line that is neither empty nor a comment.
void addLine(UserDefaults& defaults, std::string_view line) {
  const std::size_t sign = line.find('=');
  const std::string name(trimmed(line.substr(0, sign)));
  if (sign == std::string_view::npos || name.empty()) throw ValueError("expected NAME = VALUE.");
  const std::string value(trimmed(line.substr(sign + 1)));
  checkSetting(name, value);
  for (const auto& [known, before] : defaults.values)
    if (known == name) throw ValueError("set before, to " + before + ". Remove one of the lines.");
  defaults.values.emplace_back(name, value);
}

std::string pathOfFile() {
  const char* folder = std::getenv("XDG_CONFIG_HOME");
  if (folder != nullptr && folder[0] == '/') return std::string(folder) + "/q750/config";
  const char* home = std::getenv("HOME");
  return home == nullptr || home[0] == '\0' ? "" : std::string(home) + "/.config/q750/config";
}

}  // namespace

std::string UserDefaults::valueOr(std::string_view name, const std::string& otherwise) const {
  for (const auto& [known, value] : values)
    if (known == name) return value;
  return otherwise;
}

std::vector<std::string_view> userDefaultNames() {
  std::vector<std::string_view> names;
  for (const Setting& setting : settings) names.push_back(setting.name);
  return names;
}

UserDefaults parseUserDefaults(std::string_view text, const std::string& path) {
  UserDefaults defaults{path, {}};
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    const std::string_view whole = text.substr(0, length);
    text.remove_prefix(std::min(length + 1, text.size()));
    const std::string_view line = trimmed(whole.substr(0, whole.find('#')));
    if (line.empty()) continue;
    try {
      addLine(defaults, line);
    } catch (const ValueError& error) {
      throw UsageError(path + ":" + std::to_string(number) + ": " + printable(line) + ": " + error.what());
    }
  }
  return defaults;
}

UserDefaults readUserDefaults() {
  const std::string path = pathOfFile();
  if (path.empty()) return {};
  const platform::FileContent file = platform::readRegularFile(path, largestFile);
  using State = platform::FileContent::State;
  switch (file.state) {
    case State::missing:
      return {};
    case State::read:
      return parseUserDefaults(file.bytes, path);
    case State::notRegular:
      throw UsageError(path + ": this is not a regular file.");
    case State::tooLarge:
      throw UsageError(path + ": the file is larger than " + std::to_string(largestFile) + " bytes.");
    default:
      throw UsageError(path + ": cannot be read: " + std::generic_category().message(file.error) + ".");
  }
}

}  // namespace frontend
