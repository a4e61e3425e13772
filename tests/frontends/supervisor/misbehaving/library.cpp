#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>

#include "WorkerMessages.h"

// Preloaded into a worker: when that starts its first thread, which it does right after it has confined
// itself and before it opens the scanner, this does what a scanner that took it over would try, and reports
// the error of each attempt as the outcome of the scan.
namespace {

using namespace frontend;

char* const nothing[] = {nullptr};

std::string errorOf(long result) {
  return result < 0 ? std::to_string(errno) : "0";
}

std::string misbehave() {
  return "open " + errorOf(open("/etc/passwd", O_RDONLY | O_CLOEXEC)) +  //
         ", create " + errorOf(open("/tmp/q750-misbehaving", O_WRONLY | O_CREAT | O_CLOEXEC, 0600)) +
         ", socket " + errorOf(syscall(SYS_socket, AF_INET, SOCK_STREAM, 0)) +  //
         ", signal " + errorOf(syscall(SYS_tgkill, getppid(), getppid(), 0)) +  //
         ", program " + errorOf(execve("/bin/true", nothing, nothing));
}

}  // namespace

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                              void* argument) {
  const std::string message = outcomeMessage({ScanStatus::refused, misbehave()});
  [[maybe_unused]] const ssize_t sent =
      send(workerControlDescriptor, message.data(), message.size(), MSG_NOSIGNAL);
  const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
  return real(thread, attributes, start, argument);
}
