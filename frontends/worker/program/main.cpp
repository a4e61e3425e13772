#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <system_error>

#include "StackLimit.h"
#include "Worker.h"
#include "WorkerMessages.h"

namespace {

// Of the watchdog and of the USB library's thread, several times what either takes. The limit of the user's
// main stack can be larger than all the memory that a confined worker keeps.
constexpr std::size_t threadStackBytes = 1 << 20;

bool isControlConnection(int descriptor) {
  int type = 0;
  socklen_t size = sizeof type;
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_SEQPACKET;
}

// If an allocation fails in a separate thread or in a function that must not throw, this status reports it to
// the front end; otherwise it would see only a signal.
[[noreturn]] void endWithoutMemory() {
  const std::exception_ptr failure = std::current_exception();
  if (!failure) _exit(frontend::workerNoMemoryStatus);  // not even the exception could be allocated
  try {
    std::rethrow_exception(failure);
  } catch (const std::bad_alloc&) {
    _exit(frontend::workerNoMemoryStatus);
  } catch (...) {  // a defect, best reported by a signal
  }
  std::abort();
}

void begin() {
  std::set_terminate(endWithoutMemory);
}

// Before the constructors of libraries (System V ABI, DT_PREINIT_ARRAY), which throw where there is no
// memory.
[[gnu::section(".preinit_array"), gnu::used]] void (*beforeLibraries)() = begin;

bool lacksMemory(const std::error_code& error) {
  return error == std::errc::not_enough_memory || error == std::errc::resource_unavailable_try_again;
}

}  // namespace

// Started by a front end, which hands it two descriptors; of no use to anyone else.
int main() {
  if (!isControlConnection(frontend::workerControlDescriptor)) {
    std::fputs("q750-worker scans for q750 and for other programs, which start it. Use q750 scan.\n", stderr);
    return 2;
  }
  fcntl(frontend::workerControlDescriptor, F_SETFD, FD_CLOEXEC);
  fcntl(frontend::workerImageDescriptor, F_SETFD, FD_CLOEXEC);
  // The log is written to the terminal of a front end in the foreground, but this process is in the
  // background. A file size limit makes a write fail, as a full disk does: losing the library's copies is no
  // reason to end the scan.
  for (const int signal : {SIGPIPE, SIGTTOU, SIGXFSZ}) std::signal(signal, SIG_IGN);
  platform::setThreadStackSize(threadStackBytes);
  try {
    return frontend::runWorker(frontend::workerControlDescriptor, frontend::workerImageDescriptor);
  } catch (const std::bad_alloc&) {
    return frontend::workerNoMemoryStatus;
  } catch (const std::system_error& error) {  // no thread
    return lacksMemory(error.code()) ? frontend::workerNoMemoryStatus : 1;
  } catch (const std::exception&) {
    return 1;
  }
}
