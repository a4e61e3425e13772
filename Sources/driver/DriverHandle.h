#pragma once

#include <cstdint>

class CScannerDriver;

// What a handle of ScannerInterface.h is: the address of its driver, as the interface promises. This is the
// only place that converts one to the other.
//
// The driver behind a handle from EnableScanner() or EnableScannerEx(), for a program that needs to read its
// pipes or its converted image. It is owned by the interface, which never deletes it, and stays valid until
// the process ends, even after DisableScanner(). Read-only: it is changed only through the exported
// functions. Any other value, 0 included, is undefined behavior. One thread at a time, as for the interface.
const CScannerDriver& driverBehind(std::intptr_t handle) noexcept;

// The handle of a driver, for the function that returns it to the host.
std::intptr_t handleOf(const CScannerDriver& driver) noexcept;
