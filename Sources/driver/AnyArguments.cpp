// The functions that ignore whatever the host passes. They are in a separate file, which depends on neither
// the driver nor the C++ runtime: a test compiles it alone for the calling convention of another machine.
#include "ScannerInterface.h"

intptr_t EnableScannerEx(...) {
  return EnableScanner();
}

// Fixed results, whatever the scanner is or does.
// clang-format off
int32_t GetHotKey(...) { return 1; }
int32_t GetADFStatus(...) { return 1; }
int32_t DeviceParameterSet(...) { return 1; }
int32_t DeviceParameterGet(...) { return 1; }
int32_t ScanVersion(...) { return 1; }
int32_t ImageFilterSetup(...) { return 1; }
int32_t GetDevicePropteries(...) { return 0; }
// clang-format on
