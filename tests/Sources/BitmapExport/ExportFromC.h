#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Exports one grey pixel the way a host written in C does. */
int32_t exportFromC(unsigned char** tiff, uint32_t* length);
/* Reads the numbers of a null dictionary; returns the sum of both results. */
int32_t readNoDictionaryFromC(void);

#ifdef __cplusplus
}
#endif
