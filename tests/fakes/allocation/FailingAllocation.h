#pragma once

// Makes the n-th allocation with `new` (counted from 1) of this thread, and no other, fail while it exists.
// Replaces the program's operator new; malloc is not affected. One at a time on a thread:
//
//   bool happened = false;
//   {
//     const FailingAllocation third(3);
//     EXPECT_EQ(stack.masterPort(&port), kIOReturnNoMemory);
//     happened = third.happened();
//   }
class FailingAllocation {
 public:
  explicit FailingAllocation(int n);
  ~FailingAllocation();
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;

  // Whether there were enough allocations for one to fail.
  bool happened() const;
};
