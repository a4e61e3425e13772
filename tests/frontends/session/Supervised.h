#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>

// No child is left, not even a dead one.
inline void expectNoChild() {
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

class Supervised : public testing::Test {
 protected:
  ~Supervised() override { expectNoChild(); }
};
