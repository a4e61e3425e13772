#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Calls the seven stubs of fixed result with arguments of many kinds and stores their results. */
void callStubsFromC(int32_t results[7]);
/* EnableScannerEx with arguments that it ignores. */
intptr_t enableFromC(void);

/*
 * Reads the picture of the latest scan, `rows` rows (at least one) of `rowBytes` bytes, as a host should.
 * Returns how many rows of the picture are at `page` then, or 0.
 */
uint32_t readPage(intptr_t scanner, unsigned char* page, uint32_t rowBytes, uint32_t rows);

#ifdef __cplusplus
}
#endif
