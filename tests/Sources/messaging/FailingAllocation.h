#pragma once

// Makes the n-th allocation with `new` (counted from 1), and no other, fail with std::bad_alloc during its
// lifetime. Replaces the program's operator new. One at a time, one thread:
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
