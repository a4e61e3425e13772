#include "QuenvarConfig.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <utility>

#include "RegularFile.h"
#include "SettingText.h"

namespace frontend {
namespace {

constexpr char fileName[] = "/quenvar.conf";
constexpr std::size_t largestFile = 64 * 1024;

std::optional<bool> onOrOff(std::string_view text) {
  if (text == "on") return true;
  if (text == "off") return false;
  return std::nullopt;
}

std::optional<std::uint32_t> number(std::string_view text, std::uint32_t most) {
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end || value > most) return std::nullopt;
  return value;
}

template <typename Value>
bool assign(Value& place, const std::optional<Value>& value) {
  if (value) place = *value;
  return value.has_value();
}

struct Setting {
  std::string_view name;
  // Takes a value. False, and nothing changed, if it is not one of the setting's.
  bool (*apply)(QuenvarConfig& config, std::string_view value);
};

constexpr Setting settings[] = {
    {"timeout",
     [](QuenvarConfig& config, std::string_view value) {
       return assign(config.timeout, limits::timeoutFromSeconds(value));
     }},
    {"virtual", [](QuenvarConfig& config,
                   std::string_view value) { return assign(config.virtualScanner, onOrOff(value)); }},
    {"virtual-paper",
     [](QuenvarConfig& config, std::string_view value) {
       if (value.empty()) return false;
       config.virtualOptions.paper = value;
       return true;
     }},
    {"virtual-fault",
     [](QuenvarConfig& config, std::string_view value) {
       auto& faults = config.virtualOptions.faults;
       if (value.empty() || faults.size() == limits::mostVirtualFaults) return false;
       faults.emplace_back(value);
       return true;
     }},
    {"virtual-warm-up",
     [](QuenvarConfig& config, std::string_view value) {
       return assign(config.virtualOptions.warmUpMs, number(value, limits::longestVirtualWarmUp.count()));
     }},
    {"virtual-speed",
     [](QuenvarConfig& config, std::string_view value) {
       return assign(config.virtualOptions.bytesPerSecond, number(value, limits::highestVirtualSpeed));
     }},
    {"virtual-real-time",
     [](QuenvarConfig& config, std::string_view value) {
       return assign(config.virtualOptions.realTime, onOrOff(value));
     }},
};

bool apply(QuenvarConfig& config, std::string_view name, std::string_view value) {
  for (const Setting& setting : settings) {
    if (setting.name == name) return setting.apply(config, value);
  }
  return false;
}

}  // namespace

QuenvarConfig QuenvarConfig::parse(std::string_view text) {
  QuenvarConfig config;
  for (int lineNumber = 1; !text.empty(); ++lineNumber) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
    if (line.empty() || line.front() == '#') continue;
    const std::string_view name = line.substr(0, line.find_first_of(settingBlanks));
    if (!apply(config, name, trimmed(line.substr(name.size())))) {
      config.complaints.push_back("quenvar.conf, line " + std::to_string(lineNumber) +
                                  " ignored: unknown setting or invalid value: " + printable(line));
    }
  }
  return config;
}

std::vector<std::string> QuenvarConfig::folders(const char* listed) {
  std::vector<std::string> result;
  std::string_view rest = listed == nullptr ? "" : listed;
  const bool alsoDefault = rest.empty() || rest.ends_with(':');
  while (!rest.empty()) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    if (!folder.empty()) result.emplace_back(folder);
  }
  if (alsoDefault) {
    result.emplace_back(".");
    result.emplace_back(Q750_SANE_CONFIG_FOLDER);
  }
  return result;
}

// A host application that runs with more privileges than its user must not follow the user's variable.
QuenvarConfig QuenvarConfig::load() {
  return loadFrom(folders(secure_getenv("SANE_CONFIG_DIR")));
}

QuenvarConfig QuenvarConfig::loadFrom(const std::vector<std::string>& folders) {
  std::vector<std::string> complaints;
  for (const std::string& folder : folders) {
    const std::string path = folder + fileName;
    const platform::FileContent file = platform::readRegularFile(path, largestFile);
    if (file.state == platform::FileContent::State::missing) continue;
    if (file.state == platform::FileContent::State::read) {
      QuenvarConfig config = parse(file.bytes);
      config.complaints.insert(config.complaints.begin(), complaints.begin(), complaints.end());
      return config;
    }
    complaints.push_back(printable(path) + " ignored: " + file.problem(largestFile));
  }
  QuenvarConfig defaults;
  defaults.complaints = std::move(complaints);
  return defaults;
}

std::vector<std::string_view> QuenvarConfig::settingNames() {
  std::vector<std::string_view> names;
  for (const Setting& setting : settings) names.push_back(setting.name);
  return names;
}

}  // namespace frontend
