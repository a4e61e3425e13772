#pragma once

// While it exists, secure_getenv() hides the environment, as in a process with more privileges than its user,
// such as a set-user-ID program. One thread.
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
