#include "ShareConfig.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "AddressRules.h"
#include "HostGuard.h"
#include "ListenSockets.h"
#include "RegularFile.h"
#include "ScanLimits.h"
#include "ScannerName.h"
#include "SettingText.h"
#include "ShareIdentity.h"

namespace frontend::share {
namespace {

constexpr std::size_t largestFile = 64 * 1024;
constexpr char listSeparators[] = " \t\r,";

// Sets a value that was valid.
template <typename Value>
bool assign(std::optional<Value>& place, const std::optional<Value>& value) {
  if (value) place = value;
  return value.has_value();
}

template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end) return std::nullopt;
  return value;
}

// Adds the values of a list, of which there is at least one. False, and nothing changed, if one is invalid.
bool append(std::vector<std::string>& list, std::string_view text, bool (*isValid)(std::string_view)) {
  std::vector<std::string> values;
  while (true) {
    text.remove_prefix(std::min(text.find_first_not_of(listSeparators), text.size()));
    if (text.empty()) break;
    const std::string_view value = text.substr(0, text.find_first_of(listSeparators));
    if (!isValid(value)) return false;
    values.emplace_back(value);
    text.remove_prefix(value.size());
  }
  list.insert(list.end(), values.begin(), values.end());
  return !values.empty();
}

bool isPath(std::string_view text) {
  return text.starts_with('/');
}

// The text, if it is valid.
std::optional<std::string> checked(std::string_view text, bool isValid) {
  if (!isValid) return std::nullopt;
  return std::string(text);
}

std::optional<std::uint16_t> portIn(std::string_view text) {
  const auto port = numberIn<std::uint16_t>(text);
  return port == 0 ? std::nullopt : port;
}

std::optional<std::uint32_t> gammaIn(std::string_view text) {
  const double hundredths = numberIn<double>(text).value_or(0) * 100;
  // NaN, which from_chars() accepts too, is in no range.
  if (!(hundredths >= limits::lowestGammaHundredths && hundredths <= limits::highestGammaHundredths))
    return std::nullopt;
  return static_cast<std::uint32_t>(std::lround(hundredths));
}

std::optional<ShareConfig::Announce> announceIn(std::string_view text) {
  if (text == "on") return ShareConfig::Announce::on;
  if (text == "off") return ShareConfig::Announce::off;
  if (text == "local") return ShareConfig::Announce::local;
  return std::nullopt;
}

struct Setting {
  std::string_view name;
  // Applies a value. False, and nothing changed, if it is not one of the setting's.
  bool (*apply)(ShareConfig& config, std::string_view value);
  bool isList;
  const char* expected;  // for a complaint
};

constexpr Setting settings[] = {
    {"device",
     [](ShareConfig& config, std::string_view value) {
       return assign(config.device, checked(value, parseScannerName(value).has_value()));
     },
     false, "the name of a scanner, as q750 list prints it"},
    {"port", [](ShareConfig& config, std::string_view value) { return assign(config.port, portIn(value)); },
     false, "a number from 1 to 65535"},
    {"name",
     [](ShareConfig& config, std::string_view value) {
       return assign(config.name, checked(value, isShareName(value)));
     },
     false, "a text in UTF-8 without control characters"},
    {"bind",
     [](ShareConfig& config, std::string_view value) { return append(config.bind, value, isListenAddress); },
     true, "addresses of this machine, such as 192.168.1.7, or :: for all of them"},
    {"server_names",
     [](ShareConfig& config, std::string_view value) {
       return append(config.serverNames, value, isHostName);
     },
     true, "names under which clients reach this machine"},
    {"allow",
     [](ShareConfig& config, std::string_view value) {
       return append(config.allow, value, AddressRules::isRule);
     },
     true, "private, local, any, or subnets such as 192.168.1.0/24"},
    {"certificate",
     [](ShareConfig& config, std::string_view value) {
       return assign(config.certificate, checked(value, isPath(value)));
     },
     false, "the path of a file, from the root"},
    {"key",
     [](ShareConfig& config, std::string_view value) {
       return assign(config.key, checked(value, isPath(value)));
     },
     false, "the path of a file, from the root"},
    {"gamma",
     [](ShareConfig& config, std::string_view value) {
       return assign(config.gammaHundredths, gammaIn(value));
     },
     false, "a number from 0.1 to 5"},
    {"timeout",
     [](ShareConfig& config, std::string_view value) {
       return assign(config.timeout, limits::timeoutFromSeconds(value));
     },
     false, "seconds, from 0.1 to 86400"},
    {"announce",
     [](ShareConfig& config, std::string_view value) { return assign(config.announce, announceIn(value)); },
     false, "on, off or local"},
};

using SettingNames = std::vector<std::string_view>;

// Applies a line that is neither empty nor a comment. Returns what is wrong with it, or an empty text.
std::string applyLine(ShareConfig& config, std::string_view line, SettingNames& known) {
  const std::size_t sign = line.find('=');
  if (sign == std::string_view::npos) return "expected NAME = VALUE";
  const std::string_view name = trimmed(line.substr(0, sign));
  const auto setting = std::find_if(std::begin(settings), std::end(settings),
                                    [&](const Setting& one) { return one.name == name; });
  if (setting == std::end(settings)) return "unknown setting";
  const bool again = std::find(known.begin(), known.end(), name) != known.end();
  if (again && !setting->isList) return "set before; remove one of the lines";
  if (!setting->apply(config, trimmed(line.substr(sign + 1))))
    return std::string("expected ") + setting->expected;
  known.push_back(setting->name);
  return "";
}

}  // namespace

ShareConfig ShareConfig::parse(std::string_view text, const std::string& path) {
  ShareConfig config;
  SettingNames known;
  const auto complain = [&](const std::string& place, const std::string& why) {
    config.complaints.push_back(printable(path) + place + ": " + why + ".");
  };
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
    if (line.empty() || line.front() == '#') continue;
    const std::string fault = applyLine(config, line, known);
    if (!fault.empty()) complain(":" + std::to_string(number), printable(line) + ": " + fault);
  }
  if (config.certificate.has_value() != config.key.has_value())
    complain("", "certificate and key belong together; set both or neither");
  return config;
}

ShareConfig ShareConfig::load(const std::string& path) {
  const platform::FileContent file = platform::readRegularFile(path, largestFile);
  if (file.state == platform::FileContent::State::missing) return {};
  if (file.state == platform::FileContent::State::read) return parse(file.bytes, path);
  ShareConfig none;
  none.complaints.push_back(printable(path) + ": " + file.problem(largestFile) + ".");
  return none;
}

std::vector<std::string_view> ShareConfig::settingNames() {
  std::vector<std::string_view> names;
  for (const Setting& setting : settings) names.push_back(setting.name);
  return names;
}

}  // namespace frontend::share
