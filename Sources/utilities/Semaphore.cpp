// In angle brackets: the header passes on to the next one on the search path, so it has to be found there.
#include <Semaphore.h>

Semaphore::Semaphore(int value) : initialValue(value) {
  sem_init(&semaphore, 0, static_cast<unsigned int>(value));
}

Semaphore::~Semaphore() {
  sem_destroy(&semaphore);
}

// The two loops never give up: on a semaphore that could not be made they spin for ever.

int Semaphore::wait() {
  while (sem_wait(&semaphore) != 0) {
  }
  return 0;
}

int Semaphore::signal() {
  while (sem_post(&semaphore) != 0) {
  }
  return 0;
}

Semaphore* Semaphore::getInstance() {
  return this;
}
