// A library for LD_PRELOAD that makes calls of the C library fail, in one of the programs that load it:
//
//   LD_FAILING="q750-worker malloc 17 once 12 /tmp/count"
//
// makes the 17th call of the group malloc in q750-worker fail with errno 12; with "on" instead of "once",
// every call from there on. With the number 0, none fails. The file, of two numbers of 64 bits, receives the
// number of calls and of lost messages, which are the failed writes to standard error; it is mapped at the
// start, since a confined process can open no file. The name of the variable begins with LD_ because a worker
// inherits only few names (WorkerEnvironment.h).
//
// Of the allocations, operator new is malloc too. Calls that the C library makes itself are not touched.
// Allocates nothing, takes no lock.
#define _GNU_SOURCE
#undef _FILE_OFFSET_BITS  // open and open64 are two functions here
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <spawn.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static char failingGroup[32];
static unsigned long first;
static bool once;
static int failure;
static struct {
  _Atomic(uint64_t) calls, lostMessages;
} * counts;          // in the file; null in a program that is not meant
static bool worker;  // which a supervisor watches

__attribute__((constructor)) static void configure(void) {
  char program[64], mode[8], file[256];
  const char* text = getenv("LD_FAILING");
  if (text == NULL ||
      sscanf(text, "%63s %31s %lu %7s %d %255s", program, failingGroup, &first, mode, &failure, file) != 6)
    return;
  if (strcmp(program, program_invocation_short_name) != 0) return;
  once = strcmp(mode, "once") == 0;
  worker = strcmp(program, "q750-worker") == 0;
  const int descriptor = open(file, O_RDWR | O_CLOEXEC);
  if (descriptor < 0) return;
  void* mapped = mmap(NULL, sizeof *counts, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  close(descriptor);
  if (mapped != MAP_FAILED) counts = mapped;
}

// Counts a call of the group. Returns whether it fails, with errno set.
static bool fails(const char* group) {
  if (counts == NULL || strcmp(group, failingGroup) != 0) return false;
  const uint64_t number = atomic_fetch_add(&counts->calls, 1) + 1;
  const bool failing = first != 0 && (once ? number == first : number >= first);
  if (failing) errno = failure;
  return failing;
}

// A function of a group that returns `failed` where it fails.
#define FAILING(group, failed, result, name, parameters, arguments)         \
  result name parameters {                                                  \
    static result(*real) parameters;                                        \
    if (real == NULL) real = (result(*) parameters)dlsym(RTLD_NEXT, #name); \
    return fails(group) ? (failed) : real arguments;                        \
  }
#define ALLOCATION(name, parameters, call) \
  void* name parameters {                  \
    return fails("malloc") ? NULL : call;  \
  }
// The mode is passed on even where the caller gave none: it has no meaning then.
#define OPEN(name, parameters, arguments, last)                          \
  int name parameters {                                                  \
    static int(*real) parameters;                                        \
    if (real == NULL) real = (int(*) parameters)dlsym(RTLD_NEXT, #name); \
    va_list rest;                                                        \
    va_start(rest, last);                                                \
    const mode_t mode = va_arg(rest, mode_t);                            \
    va_end(rest);                                                        \
    return fails("open") ? -1 : real arguments;                          \
  }

ALLOCATION(malloc, (size_t size), __libc_malloc(size))
ALLOCATION(calloc, (size_t count, size_t size), __libc_calloc(count, size))
ALLOCATION(realloc, (void* block, size_t size), __libc_realloc(block, size))
ALLOCATION(aligned_alloc, (size_t alignment, size_t size), __libc_memalign(alignment, size))
int posix_memalign(void** block, size_t alignment, size_t size) {
  void* const given = fails("malloc") ? NULL : __libc_memalign(alignment, size);
  if (given == NULL) return ENOMEM;
  *block = given;
  return 0;
}

OPEN(open, (const char* path, int flags, ...), (path, flags, mode), flags)
OPEN(open64, (const char* path, int flags, ...), (path, flags, mode), flags)
OPEN(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode), flags)
OPEN(openat64, (int folder, const char* path, int flags, ...), (folder, path, flags, mode), flags)

// Event counters and timers, whose files are of no type, have no disk that could be full, and the USB library
// waits forever if its own fail. In a worker they fail nevertheless, since its supervisor ends it.
static bool fileFails(const char* group, int file) {
  struct stat status;
  const bool counter = fstat(file, &status) == 0 && (status.st_mode & S_IFMT) == 0;
  const bool failing = (worker || !counter) && fails(group);
  if (failing && file == STDERR_FILENO && strcmp(group, "write") == 0) ++counts->lostMessages;
  return failing;
}
#define FILE_CALL(name, parameters, arguments)                               \
  ssize_t name parameters {                                                  \
    static ssize_t(*real) parameters;                                        \
    if (real == NULL) real = (ssize_t(*) parameters)dlsym(RTLD_NEXT, #name); \
    return fileFails(#name, file) ? -1 : real arguments;                     \
  }
FILE_CALL(read, (int file, void* bytes, size_t count), (file, bytes, count))
FILE_CALL(write, (int file, const void* bytes, size_t count), (file, bytes, count))
FAILING("fsync", -1, int, fsync, (int file), (file))
FAILING("poll", -1, int, poll, (struct pollfd * polled, nfds_t count, int time), (polled, count, time))
FAILING("rename", -1, int, rename, (const char* from, const char* to), (from, to))
FAILING("rename", -1, int, renameat2, (int one, const char* from, int other, const char* to, unsigned flags),
        (one, from, other, to, flags))
FAILING("linkat", -1, int, linkat, (int one, const char* from, int other, const char* to, int flags),
        (one, from, other, to, flags))
FAILING("mmap", MAP_FAILED, void*, mmap,
        (void* at, size_t size, int access, int flags, int file, off_t offset),
        (at, size, access, flags, file, offset))
FAILING("mmap", MAP_FAILED, void*, mmap64,
        (void* at, size_t size, int access, int flags, int file, off64_t offset),
        (at, size, access, flags, file, offset))
FAILING("spawn", failure, int, posix_spawn,
        (pid_t * process, const char* path, const posix_spawn_file_actions_t* actions,
         const posix_spawnattr_t* attributes, char* const* arguments, char* const* environment),
        (process, path, actions, attributes, arguments, environment))
FAILING("spawn", -1, pid_t, fork, (void), ())
FAILING("thread", failure, int, pthread_create,
        (pthread_t * thread, const pthread_attr_t* attributes, void* (*work)(void*), void* argument),
        (thread, attributes, work, argument))
FAILING("socketpair", -1, int, socketpair, (int family, int type, int protocol, int ends[2]),
        (family, type, protocol, ends))
FAILING("pipe", -1, int, pipe2, (int ends[2], int flags), (ends, flags))
FAILING("pipe", -1, int, eventfd, (unsigned count, int flags), (count, flags))
FAILING("pipe", -1, int, timerfd_create, (clockid_t clock, int flags), (clock, flags))
FAILING("pipe", -1, int, epoll_create1, (int flags), (flags))
FAILING("send", -1, ssize_t, send, (int file, const void* bytes, size_t count, int flags),
        (file, bytes, count, flags))
FAILING("recv", -1, ssize_t, recv, (int file, void* bytes, size_t count, int flags),
        (file, bytes, count, flags))
FAILING("truncate", -1, int, ftruncate64, (int file, off64_t size), (file, size))
