#pragma once

#include <bit>
#include <clocale>
#include <cstdlib>
#include <string>

#include "TemporaryFolder.h"

// Puts the process under a locale that writes a decimal comma, generated with localedef (Debian package
// locales), for as long as the object exists:
//
//   const CommaLocale locale;
//   ASSERT_TRUE(locale.holds());
class CommaLocale {
 public:
  CommaLocale() : before_(std::setlocale(LC_ALL, nullptr)) {
    // Of the emulated machine, if there is one: the tool may be a native program of the host.
    const std::string order = std::endian::native == std::endian::big ? "--big-endian" : "--little-endian";
    const std::string make =
        "localedef --no-archive -c -i de_DE -f UTF-8 " + order + " " + folder_ / "de_DE.UTF-8";
    // Not the tool's exit status, which also reports mere warnings: holds() reports whether it succeeded.
    static_cast<void>(std::system((make + " >/dev/null 2>&1").c_str()));
    setenv("LOCPATH", (folder_ / "").c_str(), 1);
    holds_ = std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr &&
             std::string(std::localeconv()->decimal_point) == ",";
  }
  ~CommaLocale() {
    std::setlocale(LC_ALL, before_.c_str());
    unsetenv("LOCPATH");
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  bool holds() const { return holds_; }

 private:
  TemporaryFolder folder_;
  std::string before_;
  bool holds_ = false;
};
