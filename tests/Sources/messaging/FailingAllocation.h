#pragma once

// Lets the n-th allocation with `new` (counted from 1) fail with std::bad_alloc during its lifetime, and no
// other. The program's operator new is replaced for it. One at a time, one thread:
//
//   const FailingAllocation third(3);
//   EXPECT_THROW(build(), std::bad_alloc);
class FailingAllocation {
 public:
  explicit FailingAllocation(int n);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};
