#pragma once

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

// While this exists, the calling thread of a process of root is an unprivileged user; other threads remain
// root. Does nothing in a process of any other user.
class OtherUser {
 public:
  OtherUser() {
    if (isRoot_) become(nobody);
  }
  ~OtherUser() {
    if (isRoot_) become(0);
  }
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;

 private:
  static constexpr uid_t nobody = 65534;

  // The system call, not the C library's function, which would change every thread.
  static void become(uid_t user) { EXPECT_EQ(syscall(SYS_setresuid, user, user, 0), 0); }

  const bool isRoot_ = geteuid() == 0;
};
