#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cctype>
#include <cerrno>
#include <ostream>
#include <string>

#include "ScanOutcome.h"

// No child process is left, not even a zombie.
inline void expectNoChild() {
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

class Supervised : public testing::Test {
 protected:
  ~Supervised() override { expectNoChild(); }
};

// A scan that fails, and the outcome that must report it.
struct WrongScan {
  const char* cause;
  frontend::ScanStatus status;
  const char* words;
};

// Of a test of a table of them.
inline std::string nameOf(const testing::TestParamInfo<WrongScan>& test) {
  std::string name = test.param.cause;
  for (char& character : name) character = std::isalnum(character) != 0 ? character : '_';
  return name;
}

inline void PrintTo(const WrongScan& one, std::ostream* out) {
  *out << one.cause;
}
