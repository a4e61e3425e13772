// The functions that ignore whatever the host passes. They stand apart because they need nothing of the
// driver or of the C++ runtime: a test compiles this file alone for the calling convention of another
// machine.
#include "ScannerInterface.h"

intptr_t EnableScannerEx(...) {
  return EnableScanner();
}

int32_t GetHotKey(...) {
  return 1;
}
int32_t GetADFStatus(...) {
  return 1;
}
int32_t DeviceParameterSet(...) {
  return 1;
}
int32_t DeviceParameterGet(...) {
  return 1;
}
int32_t ScanVersion(...) {
  return 1;
}
int32_t ImageFilterSetup(...) {
  return 1;
}
int32_t GetDevicePropteries(...) {
  return 0;
}
