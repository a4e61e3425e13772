#pragma once

#include <cstddef>
#include <cstdint>

// Sits between the code under test and the system: counts what is written, shortens writes, makes them
// fail. While one lives, the program's own pwrite() and renameat2() obey it; without one they only forward.
// One at a time:
//
//   SystemCalls calls;
//   calls.room = 100;  // a disk with room for 100 more bytes
class SystemCalls {
 public:
  SystemCalls();
  SystemCalls(const SystemCalls&) = delete;
  SystemCalls& operator=(const SystemCalls&) = delete;
  ~SystemCalls();

  std::uint64_t room = UINT64_MAX;      // bytes that may still be written before the disk is full
  std::size_t longestWrite = SIZE_MAX;  // bytes that one call writes at most
  int interruptions = 0;                // calls still to be interrupted before they write anything
  bool canExchange = true;              // whether the file system exchanges two names
  std::uint64_t bytesWritten = 0;
  int writes = 0;
};
