#include "HostInC.h"

#include <string.h>

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

/* docs/behaviour.md quotes this. */
uint32_t readPage(intptr_t scanner, unsigned char* page, uint32_t rowBytes, uint32_t rows) {
  const size_t size = (size_t)rowBytes * rows;
  const size_t band = (size_t)rowBytes * 64; /* at least one row, or none would ever be delivered */
  size_t got = 0;
  memset(page, 0xFF, size); /* rows that are never delivered stay white */
  while (got < size) {
    const uint32_t room = (uint32_t)(size - got < band ? size - got : band);
    uint32_t delivered = 0;
    if (ReadImage(scanner, page + got, room, &delivered) != 0) return 0;
    if (delivered == 0 || delivered > room) return 0; /* not the kind of picture that was requested */
    got += delivered;
  }
  return rows - 1; /* the lead: these are the rows from the second one on, and a last one without a picture */
}
