#pragma once

// Lets the n-th allocation with `new` (counted from 1) of this thread fail while it lives, and no other. The
// program's operator new is replaced for it; malloc is not touched. One at a time on a thread:
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

  // Whether there were so many allocations that one failed.
  bool happened() const;
};
