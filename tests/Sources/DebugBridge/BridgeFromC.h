#pragma once

#ifdef __cplusplus
extern "C"
#endif
    void
    logFromC(void);
