/**
 * @file
 * The functions through which a host application drives one Quenvar Q750. Plain C (C99 and later) and C++.
 * They only convert arguments; the device logic is in CScannerDriver.
 *
 * Order of calls: EnableScanner or EnableScannerEx; SetScanParameter, SetScanParameterEx or
 * SetScanParameter2006 if the defaults (600 dpi, colour, 8.5 x 11.69 inches) are not wanted; GetScanParameter
 * for the size in pixels; StartScan; ReadImage until width x height x bytes per pixel have been delivered;
 * DisableScanner.
 *
 * One thread at a time per handle, one scan at a time per process: the byte counter and the name of the job
 * are shared by all handles. A handle is the address of the driver object, 0 is invalid; the host only
 * passes it back. It is disabled once and not used afterwards, and its object is never freed. Failures are
 * reported as return values; the only exception is std::bad_alloc, from the two enable functions.
 */
#pragma once

#ifdef __cplusplus
#include <cstdint>
extern "C" {
#else
#include <stdint.h>
#endif

/**
 * @def Q750_ANY_ARGUMENTS
 * Parameters of the functions that ignore whatever the host passes: "..." where the language accepts it
 * without a named parameter before it (C++, C23), nothing, which leaves them open, in C99 to C17. Such a
 * function reads no argument, and the caller removes what it passed (as on i386, x86-64, ARM and PowerPC), so
 * that a call through either form is the same call. Compilers before GCC 14 and Clang 18 announce a draft of
 * C23; of these, GCC 13 and Clang 16 accept "..." alone.
 */
#if defined(__cplusplus)
#define Q750_ANY_ARGUMENTS ...
#elif __STDC_VERSION__ >= 202311L
#define Q750_ANY_ARGUMENTS ...
#elif __STDC_VERSION__ > 201710L && ((defined(__clang_major__) && __clang_major__ >= 16) || __GNUC__ >= 13)
#define Q750_ANY_ARGUMENTS ...
#else
#define Q750_ANY_ARGUMENTS
#endif

/**
 * Image bytes that ReadImage has reported as delivered since the last EnableScanner, EnableScannerEx or
 * StartScan; the offset of the next ReadImage. Wraps at 32 bits. Shared by all handles.
 */
extern uint32_t totalBytesRead;

/**
 * Creates a driver, opens the first USB interface that can be opened, and sets totalBytesRead to 0. Returns
 * the handle, never 0: StartScan reports a device that could not be opened.
 */
intptr_t EnableScanner(void);
/** The same as EnableScanner(). Any arguments are ignored. */
intptr_t EnableScannerEx(Q750_ANY_ARGUMENTS);

/** Closes the device and releases image and buffers. Returns 1, or -1 for handle 0. */
int32_t DisableScanner(intptr_t handle);

/** Does nothing: a running scan is not stopped. Returns 0, or -1 for handle 0. */
int32_t AbortScan(intptr_t handle);

/**
 * Sets resolution (dots per inch), colour mode (2 is grey with 1 byte per pixel, all else colour with 3) and
 * area of the next scan, with edges in inches from the left and the top. Each edge is truncated to a multiple
 * of 1/1200 inch; the rest is as in SetScanParameterEx(). The handle is not checked and must not be 0.
 * Returns 1.
 */
int32_t SetScanParameter(intptr_t handle, int32_t xResolution, int32_t yResolution, int32_t colorMode,
                         double left, double top, double right, double bottom);
/**
 * Same as SetScanParameter(), with edges in 1/1200 inch. The left and the top edge, the width and the height
 * are converted to pixels at the resolution of their direction and truncated separately. Values out of range
 * saturate at 32 bits; a right edge left of the left one gives a huge width.
 */
int32_t SetScanParameterEx(intptr_t handle, int32_t xResolution, int32_t yResolution, int32_t colorMode,
                           uint32_t left, uint32_t top, uint32_t right, uint32_t bottom);
/** The same as SetScanParameterEx(). */
int32_t SetScanParameter2006(intptr_t handle, int32_t xResolution, int32_t yResolution, int32_t colorMode,
                             uint32_t left, uint32_t top, uint32_t right, uint32_t bottom);

/**
 * Stores width and height of the area in pixels, as set and not as received, and prints them on standard
 * output. A null pointer is skipped. The handle is not checked and must not be 0. Returns 1.
 */
int32_t GetScanParameter(intptr_t handle, unsigned long* width, unsigned long* height);

/**
 * Sets totalBytesRead to 0 and scans: returns when the image is in memory or the job has failed. Returns 0
 * for success, 1 if the image could not be converted or does not fit into memory, 0xE00002C0 (as a negative
 * number) if the device is absent or vanished, -1 for handle 0. Blocks for as long as the device sends
 * nothing before its first image byte.
 */
int32_t StartScan(intptr_t handle);

/**
 * Copies whole rows, as many as fit into `size` bytes, to `buffer`, stores the number of bytes that count as
 * delivered in *delivered and adds it to totalBytesRead. A row is as wide as the area, with the bytes per
 * pixel of the picture received and no padding. Rows have a lead: for a picture as wide as the area, the
 * first row delivered is its second, and the last is all zeros. If no row could be copied, one row's worth is
 * reported although nothing was written: no result marks the end of the image. Never blocks. Returns 0, or -1
 * for handle 0, which leaves *delivered untouched.
 */
int32_t ReadImage(intptr_t handle, unsigned char* buffer, uint32_t size, uint32_t* delivered);

/**
 * @name Fixed results
 * They use neither the device nor their arguments.
 * @{
 */
/** Returns 1. */
int32_t GetHotKey(Q750_ANY_ARGUMENTS);
int32_t GetADFStatus(Q750_ANY_ARGUMENTS);
int32_t DeviceParameterSet(Q750_ANY_ARGUMENTS);
int32_t DeviceParameterGet(Q750_ANY_ARGUMENTS);
int32_t ScanVersion(Q750_ANY_ARGUMENTS);
int32_t ImageFilterSetup(Q750_ANY_ARGUMENTS);
/** Returns 0. */
int32_t GetDevicePropteries(Q750_ANY_ARGUMENTS);
/** @} */

/** The callback is neither stored nor called. Returns 1, or 0 for a null pointer. */
int32_t SetIdleCallback(void* callback);

/** Examines nothing. Returns 1, or 0 for handle 0. */
int32_t IsUSBConnectionValid(intptr_t handle);
/** Stops nothing. Returns 1, or 0 for handle 0. */
int32_t ForceQuit(intptr_t handle);

/** Does nothing. Returns 0, or -1 for handle 0. */
int32_t EndNetworkScan(intptr_t handle);

#ifdef __cplusplus
}
#endif
