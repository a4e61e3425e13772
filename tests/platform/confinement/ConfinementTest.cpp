#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Confinement.h"
#include "Inheritance.h"
#include "MallocFaults.h"

namespace {

using namespace platform;
using testing::HasSubstr;

constexpr int crashed = 255;

// The exit status of a child process that does this: 0 to 254.
int inAChild(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) _exit(work());
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : crashed;
}

// The system's result of a call that returned this: 0 for success, otherwise its errno.
int said(long result) {
  return result >= 0 ? 0 : errno;
}

class Confined : public testing::Test {
 protected:
  Confined() {
    EXPECT_NE(mkdtemp(folder_.data()), nullptr);
    for (const char* name : {"/read", "/device", "/secret"}) std::ofstream(folder_ + name) << "text";
    needs.readable = {folder_ + "/read", "/proc/self/status", folder_ + "/missing"};
    needs.devices = {folder_ + "/device"};
  }
  ~Confined() override {
    for (const char* name : {"/read", "/device", "/secret"}) unlink(at(name));
    rmdir(folder_.c_str());
    // Of attempts without confinement.
    for (const char* made : {"new", "other", "link"})
      unlink(("/tmp/q750-confinement-" + std::string(made)).c_str());
    rmdir("/tmp/q750-confinement-folder");
  }

  // The exit status of a confined process that does this.
  int confined(const std::function<int()>& work) const {
    return inAChild([&] {
      confineProcess(needs);
      return work();
    });
  }
  const char* at(const char* name) {
    paths_.push_back(folder_ + name);
    return paths_.back().c_str();
  }

  ConfinementNeeds needs;

 private:
  std::string folder_ = "/tmp/q750-confinement-XXXXXX";
  std::deque<std::string> paths_;
};

TEST_F(Confined, ReportsWhatIsInForceAndLeavesItsCallerAsItWas) {
  const Confinement there = tryConfinement(needs);
  EXPECT_TRUE(there.privileges);
  EXPECT_TRUE(there.systemCalls);
  EXPECT_EQ(there.files, syscall(SYS_landlock_create_ruleset, nullptr, 0, 1) > 0) << "as the kernel has it";
  EXPECT_EQ(said(open(at("/secret"), O_RDWR | O_CLOEXEC)), 0);
  EXPECT_EQ(prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0), 0);
}

// After some of them libseccomp crashes, loops until its time is over, or leaves out a part of the filter.
TEST_F(Confined, FiltersSystemCallsWhicheverAllocationFails) {
  bool failed = true;
  for (int n = 1; failed; n += 29) {
    const MallocFaults faults = MallocFaults::nth(n);
    EXPECT_TRUE(tryConfinement(needs).systemCalls) << n;
    failed = faults.happened();
  }
}

TEST_F(Confined, OpensOnlyTheFilesThatItNeeds) {
  if (!tryConfinement(needs).files) GTEST_SKIP() << "this kernel has no Landlock";
  EXPECT_EQ(confined([&] { return said(open(at("/read"), O_RDONLY)); }), 0);
  EXPECT_EQ(confined([&] { return said(open(at("/read"), O_RDWR)); }), EACCES);
  EXPECT_EQ(confined([&] { return said(open(at("/device"), O_RDWR)); }), 0);
  EXPECT_EQ(confined([&] { return said(open(at("/secret"), O_RDONLY)); }), EACCES);
  EXPECT_EQ(confined([&] { return said(open(at("/secret"), O_WRONLY)); }), EACCES);
  EXPECT_EQ(confined([] { return said(open("/etc/passwd", O_RDONLY)); }), EACCES);
}

TEST_F(Confined, KeepsWhatIsOpen) {
  const int file = open(at("/secret"), O_RDWR | O_CLOEXEC);
  EXPECT_EQ(confined([&] { return write(file, "x", 1) == 1 && lseek(file, 0, SEEK_SET) == 0 ? 0 : 1; }), 0);
  close(file);
}

TEST_F(Confined, MakesSocketsWhereItNeedsThemAndNoFiles) {
  needs.sockets = {at("")};
  const std::string name = at("/socket");
  const auto work = [&] {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = ""};
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    const int made =
        said(bind(socket(AF_UNIX, SOCK_DGRAM, 0), reinterpret_cast<sockaddr*>(&address), sizeof address));
    return made == 0 && said(unlink(name.c_str())) == 0 &&
                   said(open(name.c_str(), O_CREAT | O_WRONLY, 0600)) == EPERM
               ? 0
               : 1;
  };
  EXPECT_EQ(confined(work), 0);
}

// One row for each thing that code which was taken over would try.
struct Attempt {
  const char* name;
  std::function<long()> call;
};
void PrintTo(const Attempt& attempt, std::ostream* out) {
  *out << attempt.name;
}

char* const nothing[] = {nullptr};
constexpr unsigned long highestBit = ~(~0UL >> 1);

const Attempt refused[] = {
#ifndef SYS_socketcall  // whose arguments a filter cannot see
    {"AnInternetSocket", [] { return socket(AF_INET, SOCK_STREAM, 0); }},
    {"AnInternetSocketOfVersion6", [] { return socket(AF_INET6, SOCK_DGRAM, 0); }},
    {"ALocalSocket", [] { return socket(AF_UNIX, SOCK_STREAM, 0); }},
    {"ARawSocket", [] { return socket(AF_PACKET, SOCK_RAW, 0); }},
#endif
    // Behind which are the network's settings and the kernel's firewall.
    {"NoticesOfAnotherKind", [] { return syscall(SYS_socket, AF_NETLINK, SOCK_RAW, NETLINK_ROUTE); }},
    {"APairOfLocalSockets",
     [] {
       int ends[2];
       return socketpair(AF_UNIX, SOCK_DGRAM, 0, ends);
     }},
    {"AProgram", [] { return execve("/bin/true", nothing, nothing); }},
    {"AProgramByDescriptor", [] { return syscall(SYS_execveat, 0, "/bin/true", nothing, nothing, 0); }},
    {"AChild", [] { return syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, 0); }},
    {"Tracing", [] { return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr); }},
    {"MemoryOfAnother", [] { return syscall(SYS_process_vm_readv, getppid(), nullptr, 0, nullptr, 0, 0); }},
    {"ASignal", [] { return kill(getppid(), 0); }},
    {"ASignalToAThread", [] { return syscall(SYS_tgkill, getppid(), getppid(), 0); }},
    // Whoever owns a descriptor gets a signal of one's choice once it is ready.
    {"ASignalByADescriptor", [] { return fcntl(STDIN_FILENO, F_SETOWN, getppid()); }},
    {"AnotherSignalByADescriptor", [] { return fcntl(STDIN_FILENO, F_SETSIG, SIGKILL); }},
    {"ASignalByASocket",
     [] {
       const pid_t owner = getppid();
       return ioctl(socket(AF_NETLINK, SOCK_RAW, 15), SIOCSPGRP, &owner);
     }},
    {"ANamespace", [] { return unshare(CLONE_NEWUSER); }},
    {"AMount", [] { return syscall(SYS_mount, nullptr, nullptr, nullptr, 0, nullptr); }},
    {"ANewFile", [] { return open("/tmp/q750-confinement-new", O_WRONLY | O_CREAT, 0600); }},
    {"ANewFileWithoutAName", [] { return open("/tmp", O_WRONLY | O_TMPFILE, 0600); }},
    {"RemovingAFile", [] { return unlink("/tmp/q750-confinement-new"); }},
    {"RenamingAFile", [] { return rename("/tmp/q750-confinement-new", "/tmp/q750-confinement-other"); }},
    {"AFolder", [] { return mkdir("/tmp/q750-confinement-folder", 0700); }},
    {"ALink", [] { return symlink("/etc/passwd", "/tmp/q750-confinement-link"); }},
    {"OtherPermissions", [] { return chmod("/tmp/q750-confinement-new", 0600); }},
    {"ExecutableMemory",
     [] {
       return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) == MAP_FAILED
                  ? -1
                  : 0;
     }},
    {"MakingMemoryExecutable",
     [] {
       void* page = mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
       return mprotect(page, 4096, PROT_READ | PROT_EXEC);
     }},
    {"KeystrokesForATerminal", [] { return ioctl(STDIN_FILENO, TIOCSTI, "x"); }},
    // The kernel reads only the lower half of a request.
    {"KeystrokesBehindAHighBit", [] { return syscall(SYS_ioctl, STDIN_FILENO, highestBit | TIOCSTI, "x"); }},
    {"PastingOnAConsole", [] { return ioctl(STDIN_FILENO, TIOCLINUX, "x"); }},
    {"AsynchronousIo", [] { return syscall(SYS_io_uring_setup, 1, nullptr); }},
    {"AKernelProgram", [] { return syscall(SYS_bpf, 0, nullptr, 0); }},
    {"AKey", [] { return syscall(SYS_keyctl, 0, 0, 0, 0, 0); }},
    {"AHigherLimit",
     [] {
       const rlimit limit{RLIM_INFINITY, RLIM_INFINITY};
       return setrlimit(RLIMIT_DATA, &limit);
     }},
    {"ToBeTraced", [] { return prctl(PR_SET_DUMPABLE, 1, 0, 0, 0); }},
};

class Refused : public Confined, public testing::WithParamInterface<Attempt> {};

TEST_P(Refused, WithAnErrorAndNotByTheEndOfTheProcess) {
  if (inAChild([] { return said(GetParam().call()); }) == EPERM)
    GTEST_SKIP() << "this system refuses it to every process of this user";
  EXPECT_EQ(confined([] { return said(GetParam().call()); }), EPERM);
}

INSTANTIATE_TEST_SUITE_P(Attempts, Refused, testing::ValuesIn(refused),
                         [](const auto& row) { return std::string(row.param.name); });

sockaddr_in ownAddressOf(int server) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  getsockname(server, reinterpret_cast<sockaddr*>(&address), &length);
  return address;
}

// A listener that is shut down becomes a socket that can be connected, by its first bytes too.
TEST_F(Confined, ConnectsNoListenerToAnotherMachine) {
#ifdef SYS_socketcall
  GTEST_SKIP() << "a filter cannot see the arguments of socketcall()";
#endif
  const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(listen(server, 1), 0);
  ASSERT_EQ(listen(listener, 1), 0);
  const sockaddr_in address = ownAddressOf(server);
  const auto* place = reinterpret_cast<const sockaddr*>(&address);
  iovec text{const_cast<char*>("x"), 1};
  msghdr message{};
  message.msg_name = const_cast<sockaddr_in*>(&address);
  message.msg_namelen = sizeof address;
  message.msg_iov = &text;
  message.msg_iovlen = 1;
  mmsghdr several{message, 0};
  shutdown(listener, SHUT_RD);
  const auto result = [this](const std::function<long()>& sending) {
    return confined([&sending] { return said(sending()); });
  };
  EXPECT_EQ(result([&] { return sendto(listener, "x", 1, MSG_FASTOPEN, place, sizeof address); }), EPERM);
  EXPECT_EQ(result([&] { return sendmsg(listener, &message, MSG_FASTOPEN); }), EPERM);
  EXPECT_EQ(result([&] { return sendmmsg(listener, &several, 1, MSG_FASTOPEN); }), EPERM);
  for (const int end : {server, listener}) close(end);
}

TEST_F(Confined, AsksDescriptorsAboutTheirState) {
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
  const auto work = [&] {
    int bytes = 0;
    winsize size{};
    const bool socket = ioctl(ends[0], SIOCOUTQ, &bytes) == 0 && ioctl(ends[0], FIONREAD, &bytes) == 0;
    return socket && said(ioctl(ends[0], TIOCGWINSZ, &size)) != EPERM && isatty(ends[0]) == 0 &&
                   errno != EPERM
               ? 0
               : 1;
  };
  EXPECT_EQ(confined(work), 0);
  for (const int end : ends) close(end);
}

TEST_F(Confined, StartsThreadsThatAreConfinedToo) {
  const auto work = [] {
    int inThread = -1;
    std::thread([&] { inThread = said(execve("/bin/true", nothing, nothing)); }).join();
    return inThread;
  };
  EXPECT_EQ(confined(work), EPERM);
}

TEST_F(Confined, UsesSocketsOfTheMachineAndNoticesOfTheKernel) {
  needs.sockets = {at("")};
  const auto work = [] {
    int ends[2];
    const bool pair = socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == 0 && send(ends[0], "x", 1, 0) == 1;
    return pair && socket(AF_UNIX, SOCK_STREAM, 0) >= 0 && socket(AF_NETLINK, SOCK_RAW, 15) >= 0 ? 0 : 1;
  };
  EXPECT_EQ(confined(work), 0);
}

// Behind one of them is the user's message bus, which starts any program.
TEST_F(Confined, ReachesNoLocalServerUnlessItNeedsSockets) {
  const std::string name = at("/server");
  sockaddr_un address{.sun_family = AF_UNIX, .sun_path = ""};
  name.copy(address.sun_path, sizeof address.sun_path - 1);
  const auto* place = reinterpret_cast<const sockaddr*>(&address);
  const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(server, place, sizeof address), 0);
  ASSERT_EQ(listen(server, 1), 0);
  const auto work = [&] { return said(connect(socket(AF_UNIX, SOCK_STREAM, 0), place, sizeof address)); };
  EXPECT_NE(confined(work), 0);
  needs.sockets = {at("")};
  EXPECT_EQ(confined(work), 0);
  close(server);
  unlink(name.c_str());
}

TEST_F(Confined, FindsNoMoreMemoryThanItNeedsButThrowsAsEver) {
  needs.memoryBytes = 64 << 20;
  const auto work = [] {
    const std::vector<char> half(32 << 20);
    try {
      const std::vector<char> more(64 << 20);
      return static_cast<int>(more[1]) + 1;
    } catch (const std::bad_alloc&) {
      return static_cast<int>(half[1]);
    }
  };
  EXPECT_EQ(confined(work), 0);
}

TEST_F(Confined, GainsNoRightsAndLeavesNoCore) {
  const auto work = [] {
    rlimit core{};
    getrlimit(RLIMIT_CORE, &core);
    std::ifstream status("/proc/self/status");
    const std::string text(std::istreambuf_iterator<char>(status), {});
    const bool filtered =
        text.find("NoNewPrivs:\t1") != std::string::npos && text.find("Seccomp:\t2") != std::string::npos;
    return filtered && core.rlim_cur == 0 && prctl(PR_GET_DUMPABLE, 0, 0, 0, 0) == 0 ? 0 : 1;
  };
  EXPECT_EQ(confined(work), 0);
}

TEST_F(Confined, ForgetsWhatItInherited) {
  const int file = open(at("/secret"), O_RDWR | O_CLOEXEC);
  const auto work = [file] {
    setenv("A_PASSWORD", "secret", 1);
    const char* password = getenv("A_PASSWORD");
    closeInheritedDescriptors();
    forgetEnvironment();
    const bool closed = fcntl(file, F_GETFD) < 0 && fcntl(STDERR_FILENO, F_GETFD) >= 0;
    return closed && getenv("A_PASSWORD") == nullptr && *password == '\0' ? 0 : 1;
  };
  EXPECT_EQ(inAChild(work), 0);
  close(file);
}

// abort(), as an assertion of a library calls it, still ends the process by its signal.
TEST_F(Confined, AbortsAsEver) {
  EXPECT_EQ(confined([]() -> int { std::abort(); }), crashed);
}

}  // namespace
