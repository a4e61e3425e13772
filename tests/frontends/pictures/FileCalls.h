#pragma once

#include <string>
#include <vector>

// Records the system calls of this program that decide what survives a power cut, and makes them fail. While
// no object exists, the calls are passed to the system.
//
//   FileCalls calls;
//   calls.fail("fsync", EIO);
//   file.commit();
//   EXPECT_THAT(calls.names(), ElementsAre("fsync", "linkat", "fsync folder"));
class FileCalls {
 public:
  FileCalls();
  ~FileCalls();
  FileCalls(const FileCalls&) = delete;
  FileCalls& operator=(const FileCalls&) = delete;

  // Makes every call of the name fail from now on, or with 0 succeed again. For "fsync", "fsync folder",
  // "linkat", "rename", "renameat2", "link", "O_TMPFILE".
  void fail(const std::string& call, int error);
  // Makes the next call of the name fail, and those after it succeed.
  void failOnce(const std::string& call, int error);
  // The calls so far, except O_TMPFILE.
  const std::vector<std::string>& names() const { return names_; }

  // Whether the call goes through: false with the errno set otherwise.
  static bool pass(const std::string& call);

 private:
  struct Failure {
    std::string call;
    int error;
    bool once;
  };
  std::vector<std::string> names_;
  std::vector<Failure> failures_;
};
