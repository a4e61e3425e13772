#include "ExportFromC.h"

#include <stddef.h>

#include "BitmapExport.h"

int32_t exportFromC(unsigned char** tiff, uint32_t* length) {
  const unsigned char pixel = 0x5A;
  CMBitmap bitmap = {NULL, 1, 1, 1, bitmapSpaceGrey8};
  return ConvertCMBitmapToTIFF(&pixel, &bitmap, tiff, length, NULL, 300, 300);
}

int32_t readNoDictionaryFromC(void) {
  int32_t integer = 0;
  float real = 0;
  return GetIntFromDict(NULL, &integer) + GetFloatFromDict(NULL, &real);
}
