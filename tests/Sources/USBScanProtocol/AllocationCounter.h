#pragma once

#include <cstddef>

// Replaces the global operators new and delete of this test program, to count objects and to run out of
// memory on demand. Memory allocated in other ways (malloc, mmap) is not counted.
namespace allocations {

struct Counts {
  std::ptrdiff_t objects;  // alive now
  std::ptrdiff_t bytes;    // in these
  std::size_t made;        // ever
};
Counts now();

// Makes the n-th allocation from now on fail, once; with 0, none fails.
void failNth(int n);

// What changed since this object was made.
class Since {
 public:
  std::ptrdiff_t objects() const { return now().objects - start_.objects; }
  std::ptrdiff_t bytes() const { return now().bytes - start_.bytes; }
  std::size_t made() const { return now().made - start_.made; }

 private:
  Counts start_ = now();
};

}  // namespace allocations
