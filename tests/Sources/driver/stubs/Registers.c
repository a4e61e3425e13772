/*
 * Calls the functions that ignore their arguments from assembly, independently of any compiler's code, and
 * checks that the stack pointer and the four registers that a call has to preserve on i386 are unchanged.
 */
#include <stdint.h>
#include <stdio.h>

#include "ScannerInterface.h"

#if defined(__i386__)

int registersChangedByStubs(void);

/* Bits: 1 the stack pointer, 2 ebx, 4 esi, 8 edi, 16 ebp. The call has five words of arguments. */
int registersChangedBy(void (*stub)(void));

__asm__(
    ".text\n"
    ".globl registersChangedBy\n"
    ".type registersChangedBy, @function\n"
    "registersChangedBy:\n"
    "  push %ebp\n"
    "  push %ebx\n"
    "  push %esi\n"
    "  push %edi\n"
    "  mov 20(%esp), %eax\n"
    "  sub $8, %esp\n" /* 5 words more and the stack stands on a multiple of 16 */
    "  mov $0x11111111, %ebx\n"
    "  mov $0x22222222, %esi\n"
    "  mov $0x33333333, %edi\n"
    "  mov $0x44444444, %ebp\n"
    "  push $5\n"
    "  push $4\n"
    "  push $3\n"
    "  push $2\n"
    "  push $1\n"
    "  mov %esp, stackBefore\n"
    "  call *%eax\n"
    "  xor %eax, %eax\n"
    "  cmp stackBefore, %esp\n"
    "  je 1f\n"
    "  or $1, %eax\n"
    "1: cmp $0x11111111, %ebx\n"
    "  je 2f\n"
    "  or $2, %eax\n"
    "2: cmp $0x22222222, %esi\n"
    "  je 3f\n"
    "  or $4, %eax\n"
    "3: cmp $0x33333333, %edi\n"
    "  je 4f\n"
    "  or $8, %eax\n"
    "4: cmp $0x44444444, %ebp\n"
    "  je 5f\n"
    "  or $16, %eax\n"
    "5: mov stackBefore, %esp\n"
    "  add $28, %esp\n"
    "  pop %edi\n"
    "  pop %esi\n"
    "  pop %ebx\n"
    "  pop %ebp\n"
    "  ret\n"
    ".size registersChangedBy, .-registersChangedBy\n"
    ".local stackBefore\n"
    ".comm stackBefore, 4, 4\n");

static int changed(const char* name, void (*stub)(void)) {
  const int what = registersChangedBy(stub);
  if (what != 0) printf("%s changes what a call has to preserve: %d\n", name, what);
  return what != 0;
}

#define CHANGED(function) changed(#function, (void (*)(void))(function))

int registersChangedByStubs(void) {
  return CHANGED(EnableScannerEx) + CHANGED(GetHotKey) + CHANGED(GetADFStatus) + CHANGED(DeviceParameterSet) +
         CHANGED(DeviceParameterGet) + CHANGED(ScanVersion) + CHANGED(ImageFilterSetup) +
         CHANGED(GetDevicePropteries);
}

#endif
