#include "SystemCallFilter.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/net.h>
#include <linux/netlink.h>
#include <linux/seccomp.h>
#include <linux/usbdevice_fs.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <termios.h>  // whose structure is part of TCGETS on some processors
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <span>

#include "OwnedDescriptor.h"

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
    // files, to inspect
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
    // existing connections, and notifications from the kernel
    "bind",
    "accept",
    "accept4",
    "getsockname",
    "getpeername",
    "getsockopt",
    "setsockopt",
    "shutdown",
    "recv",
    "recvfrom",
    "recvmsg",
    "recvmmsg",
    "recvmmsg_time64",
    // memory
    "brk",
    "munmap",
    "mremap",
    "madvise",
    "mlock",
    "munlock",
    // threads, own signals, exit
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
    // time and random numbers
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

// The condition that an argument has to meet for a call to be allowed.
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
    // Otherwise a listener that is shut down could be connected by the first bytes that it sends.
    {"send", without(3, MSG_FASTOPEN)},
    {"sendto", without(3, MSG_FASTOPEN)},
    {"sendmsg", without(2, MSG_FASTOPEN)},
    {"sendmmsg", without(3, MSG_FASTOPEN)},
    {"clone", {cloneFlags, SCMP_CMP_MASKED_EQ, namespaces | CLONE_THREAD, CLONE_THREAD}},
    {"mmap", without(2, PROT_EXEC)},
    {"mmap2", without(2, PROT_EXEC)},
    {"mprotect", without(2, PROT_EXEC)},
    {"prctl", equal(0, PR_SET_NAME)},
    {"prctl", equal(0, PR_GET_NAME)},
    {"prctl", equal(0, PR_GET_DUMPABLE)},
    {"prctl", equal(0, PR_SET_VMA)},  // the C library names its memory
    {"prlimit64", equal(2, 0)},       // to read a limit
};

// Where the kernel announces devices. Other kinds of the same family are an interface to the network's
// settings and to its firewall.
constexpr scmp_arg_cmp deviceNotices[] = {equal(0, AF_NETLINK), equal(2, NETLINK_KOBJECT_UEVENT)};

// On 32-bit x86 and s390x the C library makes these calls by socketcall(2), whose first argument is the call.
// The others are in memory, so that no condition holds for them: libseccomp would apply it to a register that
// contains anything.
constexpr int calledBySocketcall[] = {SYS_SOCKET, SYS_SEND, SYS_SENDTO, SYS_SENDMSG, SYS_SENDMMSG};

// A local socket may lead to the user's message bus, which starts any program outside the confinement. So may
// a pair: its datagram sockets can be connected to another address.
const ConditionalCall localSocketCalls[] = {
    {"socket", equal(0, AF_UNIX)},
    {"socketpair", equal(0, AF_UNIX)},
};
constexpr const char* localSocketNames[] = {"connect", "unlink"};

// Not those that name the owner of a descriptor, whom the kernel sends any signal when there is input.
constexpr const char* descriptorCalls[] = {"fcntl", "fcntl64"};
constexpr int descriptorCommands[] = {F_DUPFD, F_DUPFD_CLOEXEC, F_GETFD, F_SETFD, F_GETFL, F_SETFL};

// Requests have a type, in the second byte. Two of those of terminals can type commands into the user's
// terminal, and some of sockets send signals: all of USB devices are allowed, and these, which only query a
// terminal, or apply to any descriptor.
constexpr unsigned requestType = 0xFF00;
constexpr unsigned harmlessRequests[] = {TCGETS, TIOCGWINSZ, TIOCOUTQ, FIONREAD, FIONBIO};
// The kernel takes a request as 32 bits and ignores the rest of the argument.
constexpr scmp_datum_t wholeRequest = 0xFFFFFFFF;

bool allow(const Filter& filter, const char* name, std::span<const scmp_arg_cmp> conditions,
           std::uint32_t action) {
  const int number = seccomp_syscall_resolve_name(name);
  if (number == __NR_SCMP_ERROR) return true;  // newer than the library, which does not matter
  return seccomp_rule_add_array(filter.get(), action, number, static_cast<unsigned>(conditions.size()),
                                conditions.data()) == 0;
}

bool allowAll(const Filter& filter, std::span<const char* const> names) {
  return std::ranges::all_of(names,
                             [&filter](const char* name) { return allow(filter, name, {}, SCMP_ACT_ALLOW); });
}

bool allowAll(const Filter& filter, std::span<const ConditionalCall> calls) {
  return std::ranges::all_of(calls, [&filter](const ConditionalCall& call) {
    return allow(filter, call.name, {&call.condition, 1}, SCMP_ACT_ALLOW);
  });
}

bool allowRequest(const Filter& filter, scmp_datum_t mask, scmp_datum_t value) {
  const ConditionalCall call{"ioctl", {1, SCMP_CMP_MASKED_EQ, mask, value}};
  return allowAll(filter, std::span(&call, 1));
}

bool allowRequests(const Filter& filter) {
  if (!allowRequest(filter, requestType, USBDEVFS_RESET & requestType)) return false;
  return std::ranges::all_of(
      harmlessRequests, [&filter](unsigned request) { return allowRequest(filter, wholeRequest, request); });
}

bool allowDescriptorCommands(const Filter& filter) {
  return std::ranges::all_of(descriptorCommands, [&filter](int command) {
    const scmp_arg_cmp condition = equal(1, static_cast<scmp_datum_t>(command));
    return std::ranges::all_of(descriptorCalls, [&](const char* name) {
      return allow(filter, name, {&condition, 1}, SCMP_ACT_ALLOW);
    });
  });
}

bool allowSocketcalls(const Filter& filter) {
  return std::ranges::all_of(calledBySocketcall, [&filter](int call) {
    const ConditionalCall socketcall{"socketcall", equal(0, static_cast<scmp_datum_t>(call))};
    return allowAll(filter, std::span(&socketcall, 1));
  });
}

// For threads of its own alone: abort() is one.
bool allowSignals(const Filter& filter, pid_t process) {
  const ConditionalCall call{"tgkill", equal(0, static_cast<scmp_datum_t>(process))};
  return allowAll(filter, std::span(&call, 1));
}

bool addRules(const Filter& filter, pid_t process, bool localSockets) {
  if (!allowAll(filter, allowedCalls) || !allowAll(filter, conditionalCalls)) return false;
  if (!allowRequests(filter) || !allowDescriptorCommands(filter) || !allowSignals(filter, process))
    return false;
  if (!allow(filter, "socket", deviceNotices, SCMP_ACT_ALLOW) || !allowSocketcalls(filter)) return false;
  if (localSockets && (!allowAll(filter, localSocketNames) || !allowAll(filter, localSocketCalls)))
    return false;
  // Its flags are in memory, where the filter cannot see them: without it, threads are created by clone().
  return allow(filter, "clone3", {}, SCMP_ACT_ERRNO(ENOSYS));
}

// If an allocation fails, the library may also report success for an incomplete program: errno is reliable.
bool writeProgram(int pipe, pid_t process, bool localSockets) {
  errno = 0;
  const Filter filter(seccomp_init(SCMP_ACT_ERRNO(EPERM)), seccomp_release);
  if (filter == nullptr || !addRules(filter, process, localSockets)) return false;
  return seccomp_export_bpf(filter.get(), pipe) == 0 && errno != ENOMEM;
}

// A second one costs little, and memory may have run out for a moment only.
constexpr int attempts = 2;
// In processor time. Compilation usually takes a hundredth of this.
constexpr long longestCompilationNs = 250'000'000;

// Makes the system kill this process, whichever signals it inherited as ignored or blocked.
bool boundProcessorTime(long nanoseconds) {
  sigevent killing{};
  killing.sigev_notify = SIGEV_SIGNAL;
  killing.sigev_signo = SIGKILL;
  timer_t timer{};
  const itimerspec once{{0, 0}, {0, nanoseconds}};
  return timer_create(CLOCK_PROCESS_CPUTIME_ID, &killing, &timer) == 0 &&
         timer_settime(timer, 0, &once, nullptr) == 0;
}

// What the kernel runs for each system call.
class Program {
 public:
  // In a child process: if an allocation fails, the library crashes or loops for ever. A system that refuses
  // the process refuses the threads of this one as well.
  bool compile(bool localSockets) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return false;
    const OwnedDescriptor out(ends[0]);
    OwnedDescriptor in(ends[1]);
    const pid_t confined = getpid();
    const pid_t child = fork();
    if (child == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      const bool written =
          boundProcessorTime(longestCompilationNs) && writeProgram(in.get(), confined, localSockets);
      _exit(written ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    in.reset();
    const bool received = child > 0 && receive(out.get());
    return child > 0 && succeeded(child) && received;
  }
  bool load() const {
    const sock_fprog filter{static_cast<unsigned short>(bytes_ / sizeof(sock_filter)),
                            const_cast<sock_filter*>(instructions_.data())};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &filter) == 0;
  }

 private:
  bool receive(int pipe) {
    ssize_t count = 0;
    for (bytes_ = 0; bytes_ < sizeof instructions_; bytes_ += static_cast<std::size_t>(count)) {
      auto* room = reinterpret_cast<char*>(instructions_.data()) + bytes_;
      do {
        count = read(pipe, room, sizeof instructions_ - bytes_);
      } while (count < 0 && errno == EINTR);
      if (count <= 0) break;
    }
    return count == 0;
  }
  static bool succeeded(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
      if (errno != EINTR) return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
  }

  std::array<sock_filter, BPF_MAXINSNS> instructions_;
  std::size_t bytes_ = 0;
};

}  // namespace

bool filterSystemCalls(bool localSockets) noexcept {
  Program program;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (program.compile(localSockets)) return program.load();
  }
  return false;
}

}  // namespace platform
