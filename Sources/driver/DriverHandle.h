#pragma once

#include <cstdint>

class CScannerDriver;

// What a handle of ScannerInterface.h is: the address of its driver, as the interface promises. This is the
// only place that makes one of the other.
//
// The driver behind a handle from EnableScanner() or EnableScannerEx(), for a program that wants to know its
// pipes or its converted image. It stays the interface's, which never deletes it, and is valid for as long as
// the process, also after DisableScanner(). Read-only: whoever changes it does so through the exported
// functions. Any other value, 0 included, is undefined behavior. One thread at a time, as for the interface.
const CScannerDriver& driverBehind(std::intptr_t handle) noexcept;

// The handle of a driver, for the function that hands it out.
std::intptr_t handleOf(const CScannerDriver& driver) noexcept;
