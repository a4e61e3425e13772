#include "Runnable.h"

#include <pthread.h>

namespace {

void* enterThread(void* runnable) {
  return runfunction(static_cast<Runnable*>(runnable));
}

}  // namespace

std::int32_t Runnable::run() {
  return 0;
}

int Runnable::start() {
  // Never destroyed: with glibc these attributes own no memory.
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  return pthread_create(&thread, &attributes, &enterThread, this);
}

void* runfunction(Runnable* runnable) {
  runnable->run();
  delete runnable;
  return nullptr;
}
