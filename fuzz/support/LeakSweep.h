#pragma once

// Frees, at its end, every block that was allocated during its life and is still there: what the library
// keeps for good by design (tests/lsan.supp lists it) would otherwise fill the memory within a few million
// inputs. Nothing that was allocated meanwhile may be used afterwards. One at a time, one thread; without
// AddressSanitizer it does nothing.
class LeakSweep {
 public:
  LeakSweep();
  ~LeakSweep();
  LeakSweep(const LeakSweep&) = delete;
  LeakSweep& operator=(const LeakSweep&) = delete;
};
