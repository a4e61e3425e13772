#pragma once

#include <sys/resource.h>

#include <csignal>

// Makes every write past this length of a file fail, as on a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &limit_);
    const rlimit lowered{bytes, limit_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &lowered);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &limit_);
    static_cast<void>(std::signal(SIGXFSZ, handler_));
  }

 private:
  rlimit limit_{};
  void (*handler_)(int);
};
