// Compiled where <semaphore.h> finds the class's header first.
#include <semaphore.h>

#include "Semaphore.h"

int countAfterOneWait(sem_t* system) {
  sem_wait(system);
  Semaphore own(1);
  return own.wait();
}
