/* Calls the functions that ignore their arguments as hosts in every language mode do, and fails if any call
 * fails. */
#include <stdint.h>
#include <stdio.h>

int stubCallsC99(void);
int stubCallsC17(void);
int stubCallsC23(void);
int stubCallsCXX17(void);
int stubCallsCXX20(void);
#if defined(__i386__)
int registersChangedByStubs(void);
#endif

/* Replaces the driver's function, to which EnableScannerEx forwards. */
intptr_t EnableScanner(void);
intptr_t EnableScanner(void) {
  static char driver;
  return (intptr_t)&driver;
}

int main(void) {
  int wrong = 0;
#if defined(__i386__)
  /* First: after a call that spoils registers nothing else can be trusted to end. */
  wrong = registersChangedByStubs();
#endif
  if (wrong == 0) {
    wrong = stubCallsC99() + stubCallsC17() + stubCallsC23() + stubCallsCXX17() + stubCallsCXX20();
  }
  printf("pointers of %d bits: %d functions wrong\n", (int)sizeof(void*) * 8, wrong);
  return wrong == 0 ? 0 : 1;
}
