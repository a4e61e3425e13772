/* A host in C that is linked with the library instead of loading it. */
#include <stdio.h>

#include "BitmapExport.h"
#include "DebugBridge.h"
#include "DriverGlobals.h"
#include "ScannerInterface.h"
#include "Semaphore.h"

int main(void) {
  int32_t number = 0;
  const intptr_t scanner = EnableScanner();
  int good = scanner != 0 && SetScanParameterEx(scanner, 75, 75, 2, 0, 0, 1200, 1200) == 1;
  good = good && StartScan(scanner) == (int32_t)0xE00002C0u && totalBytesRead == 0 && endJobPage == 0;
  good = good && GetHotKey() == 1 && DisableScanner(scanner) == 1;
  good = good && GetIntFromDict(NULL, &number) == -1;
  BridgeNSLog("%s", good ? "works from C" : "does not work from C");
  return good ? 0 : 1;
}
