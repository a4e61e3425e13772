// In angle brackets: #include_next continues after the folder where the search path found this header.
#include <Semaphore.h>

Semaphore::Semaphore(int value) : initialValue(value) {
  sem_init(&semaphore, 0, static_cast<unsigned int>(value));
}

Semaphore::~Semaphore() {
  sem_destroy(&semaphore);
}

// The two loops never give up, so that EINTR never looks like a signal() to the caller. The price: they spin
// forever on a semaphore that could not be created.

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
