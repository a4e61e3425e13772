#include "HostInC.h"

#include "ScannerInterface.h"

void callStubsFromC(int32_t results[7]) {
  char text[] = "ignored";
  results[0] = GetHotKey();
  results[1] = GetADFStatus(1);
  results[2] = DeviceParameterSet(text, 2.5, 3U);
  results[3] = DeviceParameterGet(&results[0], 1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0);
  results[4] = ScanVersion(1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
  results[5] = ImageFilterSetup(text);
  results[6] = GetDevicePropteries(text, 1L);
}

intptr_t enableFromC(void) {
  return EnableScannerEx("USB", 1, 2.5);
}
