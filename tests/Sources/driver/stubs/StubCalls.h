/*
 * What a host may do with the functions that ignore their arguments: pass any kind of argument, none, and
 * more than the registers hold, a million times on one stack. One text for C and C++, compiled once for each
 * language mode; STUB_CALLS is the name of the function that results. It prints what is wrong and returns how
 * much.
 */
#pragma once

#include <stdint.h>
#include <stdio.h>

#include "ScannerInterface.h"

#ifdef __cplusplus
extern "C" {
#endif
int STUB_CALLS(void);
#ifdef __cplusplus
}
#endif

typedef int32_t Stub(Q750_ANY_ARGUMENTS);

struct Record {
  int32_t words[5];
};

enum { shapeCount = 10, rounds = 125000 };

/* Calls with the arguments of one shape. */
#define CALL(function, shape)                                                              \
  ((shape) == 0   ? (function)()                                                           \
   : (shape) == 1 ? (function)(1)                                                          \
   : (shape) == 2 ? (function)("text")                                                     \
   : (shape) == 3 ? (function)(2.5)                                                        \
   : (shape) == 4 ? (function)((int64_t)-1, 2.5F, 'c', &record, 2.5L)                      \
   : (shape) == 5 ? (function)(idle, record)                                               \
   : (shape) == 6 ? (function)(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17)  \
   : (shape) == 7 ? (function)(0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0, 1.1, 1.2) \
   : (shape) == 8 ? (function)(record, record, record, record)                             \
                  : (function)("text", 1.5, 2, 3LL, 4.5, "text", 6, 7.5, 8LL, 9.5, record, 11))

static void idle(void) {}

/* Returns the position of the stack: always the same at one place of a function, unless a call moved it. */
#if defined(__GNUC__)
__attribute__((noinline))
#endif
static uintptr_t
stackMark(void) {
  volatile uintptr_t here = 0;
  here = (uintptr_t)&here;
  return here;
}

static int wrong(const char* function, int shape, const char* what) {
  printf("%s with the arguments of shape %d: %s\n", function, shape, what);
  return 1;
}

static volatile uint32_t seed = 0x5EED0001U;

static int wrongResults(const char* name, Stub* stub, int32_t expected) {
  const struct Record record = {{1, 2, 3, 4, 5}};
  /* Live across every call, in registers that a call has to preserve or on the stack. */
  const uint32_t first = seed;
  const uint32_t second = seed + 1;
  const uint32_t third = seed + 2;
  const uint32_t fourth = seed + 3;
  const uintptr_t mark = stackMark();
  for (int round = 0; round < rounds; ++round) {
    const int shape = round % shapeCount;
    if (CALL(stub, shape) != expected) return wrong(name, shape, "another result");
    if (stackMark() != mark) return wrong(name, shape, "the stack has moved");
    if (first != seed || second != seed + 1 || third != seed + 2 || fourth != seed + 3) {
      return wrong(name, shape, "a local has changed");
    }
  }
  return 0;
}

static int wrongHandles(void) {
  const struct Record record = {{1, 2, 3, 4, 5}};
  const intptr_t expected = EnableScanner();
  const uintptr_t mark = stackMark();
  for (int round = 0; round < rounds; ++round) {
    const int shape = round % shapeCount;
    if (CALL(EnableScannerEx, shape) != expected) return wrong("EnableScannerEx", shape, "another result");
    if (stackMark() != mark) return wrong("EnableScannerEx", shape, "the stack has moved");
  }
  return 0;
}

int STUB_CALLS(void) {
  return wrongHandles() + wrongResults("GetHotKey", GetHotKey, 1) +
         wrongResults("GetADFStatus", GetADFStatus, 1) +
         wrongResults("DeviceParameterSet", DeviceParameterSet, 1) +
         wrongResults("DeviceParameterGet", DeviceParameterGet, 1) +
         wrongResults("ScanVersion", ScanVersion, 1) + wrongResults("ImageFilterSetup", ImageFilterSetup, 1) +
         wrongResults("GetDevicePropteries", GetDevicePropteries, 0);
}
