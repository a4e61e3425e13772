#pragma once

// Makes allocations fail in the whole test program, including those of C libraries: malloc(), calloc(),
// realloc(), and operator new where it is based on them; those of child processes count as well. It defines
// these functions for the programs that link it. Under a sanitizer, which has its own allocator, none fails:
// arePossible() is false.
//
//   {
//     const MallocFaults faults = MallocFaults::from(3);
//     ...                                // the third allocation from here on fails, and so do all after it
//   }                                    // none fails any more
class MallocFaults {
 public:
  static bool arePossible();
  // The n-th allocation (from 1) fails.
  static MallocFaults nth(int n) { return {n, false}; }
  // The n-th allocation (from 1) and all after it fail.
  static MallocFaults from(int n) { return {n, true}; }
  ~MallocFaults();
  MallocFaults(const MallocFaults&) = delete;
  MallocFaults& operator=(const MallocFaults&) = delete;

  // Whether the allocation that is to fail has been requested.
  bool happened() const;

 private:
  MallocFaults(int n, bool allAfter);
};
