#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The defaults that a user has set for "q750 scan", in a file of lines such as
//
//   resolution = 150   # for drafts
//
// whose names and values are those of the long options. The command line takes precedence. A default that
// does not fit the rest of a scan, such as a threshold where the mode is color, is left out; an option would
// be refused.
namespace frontend {

struct UserDefaults {
  std::string path;                                         // of their file; empty if there is none
  std::vector<std::pair<std::string, std::string>> values;  // name and checked value, as in the file

  // The value of this name, or else the other text.
  std::string valueOr(std::string_view name, const std::string& otherwise) const;
};

// The names of all settings that there are.
std::vector<std::string_view> userDefaultNames();

// Reads the text of such a file; `path` is for messages. Touches no file. Throws UsageError, which begins
// with the path and the number of the line, for a line that is not understood, an unknown name, a value that
// its option does not take, and a name that is set twice.
UserDefaults parseUserDefaults(std::string_view text, const std::string& path);

// Reads $XDG_CONFIG_HOME/q750/config, or ~/.config/q750/config where that variable is not an absolute path.
// Returns none where there is no such file. Never blocks on what is not a regular file. Throws UsageError as
// above, and for a file that cannot be read or is too large.
UserDefaults readUserDefaults();

}  // namespace frontend
