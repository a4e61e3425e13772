#pragma once

// Lets allocations fail in the whole test program, those of C libraries included: malloc(), calloc(),
// realloc(), and operator new where it rests on them; those of child processes count as well. A program that
// links this has these functions from here. Under a sanitizer, which has an allocator of its own, none fails:
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
