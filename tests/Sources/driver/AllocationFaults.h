#pragma once

#include <cstddef>

// Makes allocations through operator new fail, in the whole test program. Those of malloc are not affected.
//
//   {
//     const AllocationFaults faults = AllocationFaults::nth(3);
//     ...                                   // the third allocation from here on fails
//   }                                       // none fails any more
class AllocationFaults {
 public:
  // The n-th allocation (from 1) fails.
  static AllocationFaults nth(int n);
  // The n-th allocation (from 1) and all after it fail.
  static AllocationFaults from(int n);
  // The n-th allocation (from 1) of exactly this many bytes fails.
  static AllocationFaults ofSize(std::size_t size, int n = 1);
  ~AllocationFaults();
  AllocationFaults(const AllocationFaults&) = delete;
  AllocationFaults& operator=(const AllocationFaults&) = delete;

  // Blocks of operator new that were not freed, in the whole program.
  static long blocksHeld();

  // Whether the allocation that is to fail has been requested.
  bool happened() const;

 private:
  AllocationFaults(int n, std::size_t size, bool allAfter);
};
