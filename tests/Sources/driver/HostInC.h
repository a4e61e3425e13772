#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Calls the seven stubs of fixed result with arguments of many kinds and stores their results. */
void callStubsFromC(int32_t results[7]);
/* EnableScannerEx with arguments that it ignores. */
intptr_t enableFromC(void);

#ifdef __cplusplus
}
#endif
