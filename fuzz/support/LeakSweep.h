#pragma once

// Frees, when destroyed, every block that was allocated during its lifetime and not freed: what the library
// leaks by design (listed in tests/lsan.supp) would otherwise fill the memory within a few million inputs.
// Nothing that was allocated meanwhile may be used afterwards. One at a time, one thread; without
// AddressSanitizer it does nothing.
class LeakSweep {
 public:
  LeakSweep();
  ~LeakSweep();
  LeakSweep(const LeakSweep&) = delete;
  LeakSweep& operator=(const LeakSweep&) = delete;
};
