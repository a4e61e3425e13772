#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace frontend::share {

// The settings of /etc/quenvar/share.conf, in lines such as
//
//   name = Reception
//
// An absent setting is empty; the command line takes precedence. Any thread; throws only std::bad_alloc.
struct ShareConfig {
  enum class Announce : std::uint8_t {
    on,     // in the networks that the server serves
    off,    //
    local,  // on this machine too, for programs that do not use SANE
  };

  std::optional<std::string> device;  // as in ScannerName.h
  std::optional<std::uint16_t> port;
  std::optional<std::string> name;
  std::vector<std::string> bind;         // addresses of this machine, as numbers
  std::vector<std::string> serverNames;  // besides namesOfMachine()
  std::vector<std::string> allow;        // each is a rule of AddressRules.h
  std::optional<std::string> certificate;
  std::optional<std::string> key;
  std::optional<std::uint32_t> gammaHundredths;
  std::optional<std::chrono::milliseconds> timeout;
  std::optional<Announce> announce;

  // One sentence for each line that is not valid, with the name of the file and the line's number, and for a
  // file that cannot be read; plain ASCII. A server must not start with a complaint: it could serve more than
  // its administrator intended.
  std::vector<std::string> complaints;

  // Reads the text of such a file; `path` is for complaints. A line that begins with # is a comment. A list
  // has blanks or commas between its values, and may be continued under the same name; any other name may be
  // set once.
  static ShareConfig parse(std::string_view text, const std::string& path);

  // Reads the file. A missing file counts as one without settings. A file that cannot be read, is larger than
  // 64 KiB or is not a regular file, which could block or never end, leaves a complaint.
  static ShareConfig load(const std::string& path);

  // The names of all settings.
  static std::vector<std::string_view> settingNames();
};

}  // namespace frontend::share
