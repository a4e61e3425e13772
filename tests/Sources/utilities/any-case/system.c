/* Compiled where <semaphore.h> finds the class's header first. */
#include <semaphore.h>

int countOf(sem_t* semaphore) {
  int count = 0;
  return sem_getvalue(semaphore, &count) == 0 ? count : -1;
}
