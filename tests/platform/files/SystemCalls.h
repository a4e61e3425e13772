#pragma once

#include <cstddef>
#include <cstdint>

// Intercepts the system calls of the code under test: counts what is written, shortens writes, makes them
// fail. While one exists, the program's pwrite() and renameat2() follow it; otherwise they only forward. One
// at a time:
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
