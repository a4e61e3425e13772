#include "QuenvarConfig.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>

namespace frontend {
namespace {

constexpr char fileName[] = "/quenvar.conf";
constexpr char blanks[] = " \t\r";
constexpr std::uint32_t longestTimeout = 3600;   // seconds
constexpr std::uint32_t longestWarmUp = 600000;  // milliseconds
constexpr std::uint32_t anyNumber = UINT32_MAX;

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

std::optional<bool> truth(std::string_view text) {
  if (text == "on") return true;
  if (text == "off") return false;
  return std::nullopt;
}

std::optional<std::uint32_t> number(std::string_view text, std::uint32_t least, std::uint32_t most) {
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || rest != end || value < least || value > most) return std::nullopt;
  return value;
}

template <typename Value, typename Place>
bool assign(const std::optional<Value>& value, Place& place) {
  if (value) place = Place(*value);
  return value.has_value();
}

// False where there is no such setting or the value is none of its.
bool apply(QuenvarConfig& config, std::string_view name, std::string_view value) {
  VirtualScannerOptions& virtualOptions = config.virtualOptions;
  if (name == "virtual") return assign(truth(value), config.virtualScanner);
  if (name == "timeout") return assign(number(value, 1, longestTimeout), config.timeout);
  if (name == "virtual-real-time") return assign(truth(value), virtualOptions.realTime);
  if (name == "virtual-warm-up") return assign(number(value, 0, longestWarmUp), virtualOptions.warmUpMs);
  if (name == "virtual-speed") return assign(number(value, 0, anyNumber), virtualOptions.bytesPerSecond);
  if (value.empty()) return false;
  if (name == "virtual-paper") {
    virtualOptions.paper = value;
    return true;
  }
  if (name == "virtual-fault") {
    virtualOptions.faults.emplace_back(value);
    return true;
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
    const std::string_view name = line.substr(0, line.find_first_of(blanks));
    if (!apply(config, name, trimmed(line.substr(name.size())))) {
      config.complaints.push_back("quenvar.conf, line " + std::to_string(lineNumber) +
                                  ": this says nothing that is known: " + std::string(line));
    }
  }
  return config;
}

std::vector<std::string> QuenvarConfig::folders(const char* listed) {
  std::vector<std::string> result;
  std::string_view rest = listed == nullptr ? "" : listed;
  const bool alsoUsual = rest.empty() || rest.ends_with(':');
  while (!rest.empty()) {
    const std::string_view folder = rest.substr(0, rest.find(':'));
    rest.remove_prefix(std::min(folder.size() + 1, rest.size()));
    if (!folder.empty()) result.emplace_back(folder);
  }
  if (alsoUsual) {
    result.emplace_back(".");
    result.emplace_back(Q750_SANE_CONFIG_FOLDER);
  }
  return result;
}

QuenvarConfig QuenvarConfig::load() {
  for (const std::string& folder : folders(std::getenv("SANE_CONFIG_DIR"))) {
    std::ifstream file(folder + fileName, std::ios::binary);
    if (!file) continue;
    return parse(std::string(std::istreambuf_iterator<char>(file), {}));
  }
  return {};
}

}  // namespace frontend
