#include "SystemCallFilter.h"

#include <fcntl.h>
#include <linux/prctl.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>
#include <span>

namespace platform {
namespace {

using Filter = std::unique_ptr<void, decltype(&seccomp_release)>;

// By name: each architecture has some of them, and the newest ones only newer libraries.
constexpr const char* allowedCalls[] = {
    // descriptors
    "read",
    "write",
    "readv",
    "writev",
    "pread64",
    "pwrite64",
    "close",
    "close_range",
    "dup",
    "dup2",
    "dup3",
    "fcntl",
    "fcntl64",
    "lseek",
    "_llseek",
    "pipe",
    "pipe2",
    "eventfd",
    "eventfd2",
    "timerfd_create",
    "timerfd_settime",
    "timerfd_settime64",
    "timerfd_gettime",
    "timerfd_gettime64",
    "poll",
    "ppoll",
    "ppoll_time64",
    "select",
    "_newselect",
    "pselect6",
    "pselect6_time64",
    "epoll_create",
    "epoll_create1",
    "epoll_ctl",
    "epoll_wait",
    "epoll_pwait",
    // files, to look at
    "access",
    "faccessat",
    "faccessat2",
    "stat",
    "stat64",
    "lstat",
    "lstat64",
    "fstat",
    "fstat64",
    "newfstatat",
    "fstatat64",
    "statx",
    "statfs",
    "statfs64",
    "fstatfs",
    "fstatfs64",
    "readlink",
    "readlinkat",
    "getdents",
    "getdents64",
    "getcwd",
    // connections that exist, and local ones
    "bind",
    "connect",
    "accept",
    "accept4",
    "getsockname",
    "getpeername",
    "getsockopt",
    "setsockopt",
    "shutdown",
    "send",
    "sendto",
    "sendmsg",
    "recv",
    "recvfrom",
    "recvmsg",
    "recvmmsg",
    "recvmmsg_time64",
    "sendmmsg",
    // memory
    "brk",
    "munmap",
    "mremap",
    "madvise",
    "mlock",
    "munlock",
    // threads, signals of its own, the end
    "futex",
    "futex_time64",
    "set_robust_list",
    "rseq",
    "set_tid_address",
    "get_thread_area",
    "set_thread_area",
    "arch_prctl",
    "membarrier",
    "sched_yield",
    "sched_getaffinity",
    "gettid",
    "getpid",
    "getppid",
    "getuid",
    "getuid32",
    "geteuid",
    "geteuid32",
    "getgid",
    "getgid32",
    "getegid",
    "getegid32",
    "tgkill",
    "rt_sigaction",
    "rt_sigprocmask",
    "rt_sigreturn",
    "sigreturn",
    "sigaltstack",
    "rt_sigtimedwait",
    "rt_sigtimedwait_time64",
    "restart_syscall",
    "exit",
    "exit_group",
    // time and chance
    "clock_gettime",
    "clock_gettime64",
    "clock_getres",
    "clock_getres_time64",
    "clock_nanosleep",
    "clock_nanosleep_time64",
    "nanosleep",
    "gettimeofday",
    "time",
    "getrandom",
    "uname",
    "sysinfo",
    "getrlimit",
    "ugetrlimit",
    "getrusage",
};

// What an argument has to be like for a call to be allowed.
struct ConditionalCall {
  const char* name;
  scmp_arg_cmp condition;
};

constexpr scmp_arg_cmp without(unsigned argument, scmp_datum_t bits) {
  return {argument, SCMP_CMP_MASKED_EQ, bits, 0};
}
constexpr scmp_arg_cmp equal(unsigned argument, scmp_datum_t value) {
  return {argument, SCMP_CMP_EQ, value, 0};
}

constexpr scmp_datum_t creating = O_CREAT | O_TRUNC | (O_TMPFILE & ~O_DIRECTORY);
constexpr scmp_datum_t namespaces = CLONE_NEWNS | CLONE_NEWCGROUP | CLONE_NEWUTS | CLONE_NEWIPC |
                                    CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNET | CLONE_VFORK | CLONE_PTRACE;
#ifdef __s390x__
constexpr unsigned cloneFlags = 1;  // its arguments are in another order (clone(2))
#else
constexpr unsigned cloneFlags = 0;
#endif

const ConditionalCall conditionalCalls[] = {
    {"open", without(1, creating)},
    {"openat", without(2, creating)},
    {"socket", equal(0, AF_UNIX)},
    {"socket", equal(0, AF_NETLINK)},
    {"socketpair", equal(0, AF_UNIX)},
    {"clone", {cloneFlags, SCMP_CMP_MASKED_EQ, namespaces | CLONE_THREAD, CLONE_THREAD}},
    {"mmap", without(2, PROT_EXEC)},
    {"mmap2", without(2, PROT_EXEC)},
    {"mprotect", without(2, PROT_EXEC)},
    {"ioctl", {1, SCMP_CMP_NE, TIOCSTI, 0}},
    {"prctl", equal(0, PR_SET_NAME)},
    {"prctl", equal(0, PR_GET_NAME)},
    {"prctl", equal(0, PR_GET_DUMPABLE)},
    {"prctl", equal(0, PR_SET_VMA)},  // the C library names its memory
    {"prlimit64", equal(2, 0)},       // to read a limit
};

bool allow(const Filter& filter, const char* name, std::span<const scmp_arg_cmp> conditions,
           std::uint32_t action) {
  const int number = seccomp_syscall_resolve_name(name);
  if (number == __NR_SCMP_ERROR) return true;  // newer than the library, which does not matter
  return seccomp_rule_add_array(filter.get(), action, number, static_cast<unsigned>(conditions.size()),
                                conditions.data()) == 0;
}

bool addRules(const Filter& filter) {
  for (const char* name : allowedCalls) {
    if (!allow(filter, name, {}, SCMP_ACT_ALLOW)) return false;
  }
  for (const ConditionalCall& call : conditionalCalls) {
    if (!allow(filter, call.name, {&call.condition, 1}, SCMP_ACT_ALLOW)) return false;
  }
  // Its flags are in memory, where the filter cannot see them: without it, threads are made by clone().
  return allow(filter, "clone3", {}, SCMP_ACT_ERRNO(ENOSYS));
}

}  // namespace

bool filterSystemCalls(bool removingFiles) noexcept {
  const Filter filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release);
  if (filter == nullptr || !addRules(filter)) return false;
  if (removingFiles && !allow(filter, "unlink", {}, SCMP_ACT_ALLOW)) return false;
  seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_TSYNC, 1);
  return seccomp_load(filter.get()) == 0;
}

}  // namespace platform
