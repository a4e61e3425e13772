#pragma once

/// @file
/// Two helpers for host applications, which nothing inside the library calls: a bitmap as a TIFF file in
/// memory, and the numbers in a capability dictionary. Plain C (C99 and later) and C++. Any thread, for
/// arguments that no other thread uses meanwhile; nothing throws.

#ifdef __cplusplus
#include <cstdint>

#include "Dictionary.h"

/// What GetIntFromDict() and GetFloatFromDict() read. Built in C++; C only passes it on.
typedef platform::Dictionary CapabilityDictionary;

extern "C" {
#else
#include <stdint.h>

/// What GetIntFromDict() and GetFloatFromDict() read. Built in C++; C only passes it on.
typedef struct CapabilityDictionary CapabilityDictionary;
#endif

/// The values of `CMBitmap::space`: the colour spaces, with the layout of their pixels.
enum {
  /// 24-bit RGB: 3 bytes per pixel, R G B. Rows are packed, width × 3 bytes each.
  bitmapSpaceRGB24 = 0x2101,
  /// 8-bit grey: 1 byte per pixel, 0 is black. Rows are packed, width bytes each.
  bitmapSpaceGrey8 = 0x280A,
  /// 1 bit per pixel, 1 is black, the leftmost pixel in the highest bit. Rows are `CMBitmap::rowBytes` apart.
  bitmapSpaceOneBit = 0x0B00
};

/// Describes an uncompressed bitmap, first row first.
typedef struct CMBitmap {
  /// Not used: the pixels are passed separately.
  char* image;
  /// Pixels in a row, 1 to 32767.
  int32_t width;
  /// Rows, 1 to 32767.
  int32_t height;
  /// Bytes from one row to the next. Used for 1 bit per pixel only, where it is at least (width + 7) / 8.
  int32_t rowBytes;
  /// The colour space: one of the three codes above.
  uint32_t space;
} CMBitmap;

/// Settings of a scan. Opaque here.
typedef struct ScanningParamBlock ScanningParamBlock;

/// Converts a bitmap to a TIFF file in memory: big-endian, uncompressed, with the two resolutions (dots per
/// inch). A resolution above 32767 is treated as 32768; the file has none if either is 0. Grey and 1-bit
/// images keep their bytes, and the file records which value is black: 0 in grey and 1 in 1-bit images, as in
/// the rasters of this library.
///
/// `*tiff` is null or a block allocated by malloc(). On success it is freed and replaced by a new block,
/// which the caller frees with free(), and `*length` is its size in bytes. `parameters` is ignored.
///
/// Results; `*tiff` and `*length` are unchanged on all but the first two:
///
/// - 0: success
/// - -108: no memory for the new block; the old block has been freed, `*tiff` is null, `*length` unchanged
/// - -108 or another negative number: the off-screen image could not be created, with this error
/// - -1: no image was created: width or height out of range, 1-bit rows too short, or no reason given
/// - -50: another colour space code; or one of the four addresses is null, and nothing was done
/// - 1: the export component could not be opened
/// - 2: it rejected the image
/// - 3: it rejected the depth
/// - 4: it rejected the memory for the file
/// - 5: it rejected the resolution
/// - 6: the export failed, for instance because memory ran out
///
/// After the results 2 to 6, and where there was no memory for the new block, the export component stays open
/// permanently: a small block of memory each time.
int32_t ConvertCMBitmapToTIFF(const unsigned char* pixels, const CMBitmap* bitmap, unsigned char** tiff,
                              uint32_t* length, ScanningParamBlock* parameters, uint32_t horizontalResolution,
                              uint32_t verticalResolution);

/// Reads the number in a capability dictionary as an integer. The text under "type" selects it:
/// "TWON_ONEVALUE" the number under "value"; "TWON_ENUMERATION" the element of the array under "value" whose
/// index, from 0, is the number under "current". Returns 0, or -1 with `*number` untouched: another type or
/// none, an index out of range, an entry that is missing or no number, a null address.
///
/// Fractions are truncated, including that of an index; a number out of range becomes the nearest integer,
/// NaN the smallest.
int32_t GetIntFromDict(const CapabilityDictionary* dictionary, int32_t* number);

/// The same, read as a float: the nearest one; for a finite number out of range the largest of its sign.
int32_t GetFloatFromDict(const CapabilityDictionary* dictionary, float* number);

#ifdef __cplusplus
}
#endif
