#pragma once

// While it lives, the C library takes this process for one with more privileges than its user, such as a
// set-user-ID program, and hides the environment from secure_getenv(). One thread.
//
//   const MorePrivileges setUserId;
//   EXPECT_EQ(secure_getenv("HOME"), nullptr);
class MorePrivileges {
 public:
  MorePrivileges();
  ~MorePrivileges();
  MorePrivileges(const MorePrivileges&) = delete;
  MorePrivileges& operator=(const MorePrivileges&) = delete;
};
