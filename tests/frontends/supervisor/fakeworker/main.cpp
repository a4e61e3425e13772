#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "SupervisedScan.h"
#include "WorkerMessages.h"
#include "WorkerProcess.h"

// A worker that misbehaves. The scanner's name selects how, or the program's if it is to list scanners.
namespace {

using namespace frontend;

void say(std::string_view message) {
  [[maybe_unused]] const ssize_t sent =
      send(workerControlDescriptor, message.data(), message.size(), MSG_NOSIGNAL);
}

bool sendBytes(std::size_t count) {
  const std::vector<char> bytes(count, 'x');
  return write(workerImageDescriptor, bytes.data(), bytes.size()) == static_cast<ssize_t>(count);
}

[[noreturn]] void sleepForEver() {
  for (;;) pause();
}

// For a terminal, which would act on them, in front of a letter that is not ASCII.
void sayControlCharacters() {
  say(outcomeMessage({ScanStatus::refused, "\x1B[2J\n\x7F\xC2\x9B \xC3\xBC"}));
}

void sayForEver(const std::string& message) {
  while (send(workerControlDescriptor, message.data(), message.size(), MSG_NOSIGNAL) >= 0) {
  }
}

void giveSignsFor(std::chrono::milliseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  while (std::chrono::steady_clock::now() < end) {
    say(heartbeatMessage);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

// Standard input, output and error, the two connections, and nothing else.
bool hasTheRightDescriptors() {
  bool right = true;
  for (int descriptor = 0; descriptor < 256; ++descriptor) {
    right = right && (fcntl(descriptor, F_GETFD) >= 0) == (descriptor <= workerImageDescriptor);
  }
  return right;
}

int list(const std::string& deed) {
  const std::string scanners = scannersMessage({{{1, {2}}, 3, platform::AttachedDevice::Access::granted}});
  const std::map<std::string, std::function<void()>> deeds = {
      {"hangs", [] { sleepForEver(); }},
      {"stops", [] { raise(SIGSTOP); }},
      {"hangs-after-the-list",
       [&] {
         say(scanners);
         sleepForEver();
       }},
      {"closes-its-connection",
       [] {
         close(workerControlDescriptor);
         sleepForEver();
       }},
      {"crashes", [] { kill(getpid(), SIGKILL); }},
      {"leaves-without-a-word", [] { _exit(7); }},
      {"finds-no-memory", [] { _exit(workerNoMemoryStatus); }},
      {"never-runs", [] { _exit(127); }},
      {"babbles", [] { say("hello"); }},
      {"sends-a-layout",
       [] {
         say(layoutMessage({1, 1, 1, 8, 75}));
       }},
      {"sends-a-good-outcome", [] { say(outcomeMessage(outcome::good())); }},
      {"sends-control-characters", [] { sayControlCharacters(); }},
      {"has-no-usb", [] { say(outcomeMessage(outcome::noUsb("USB cannot be used: Other error"))); }},
      {"lists-one", [&] { say(hasTheRightDescriptors() ? scanners : ""); }},
  };
  const auto found = deeds.find(deed);
  if (found == deeds.end()) return 8;
  found->second();
  return 0;
}

}  // namespace

int main(int /*count*/, char** arguments) {
  std::array<char, largestWorkerMessage> buffer;
  const ssize_t count = recv(workerControlDescriptor, buffer.data(), buffer.size(), 0);
  const std::string_view message(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
  if (message == listMessage) return list(std::filesystem::path(arguments[0]).filename());
  const auto request = readRequest(message);
  if (!request) return 9;
  const PictureLayout layout = expectedLayout(*request);
  PictureLayout other = layout;
  ++other.width;
  const auto bytes = static_cast<std::size_t>(layout.bytes());
  const std::string good = outcomeMessage(outcome::good());
  std::signal(SIGPIPE, SIG_IGN);

  const std::map<std::string, std::function<void()>> deeds = {
      {"stops", [] { raise(SIGSTOP); }},
      {"stops in the middle",
       [&] {
         say(layoutMessage(layout));
         sendBytes(bytes / 2);
         raise(SIGSTOP);
       }},
      {"crashes", [] { kill(getpid(), SIGKILL); }},
      {"crashes in the middle",
       [&] {
         say(layoutMessage(layout));
         sendBytes(bytes / 2);
         std::signal(SIGSEGV, SIG_DFL);  // which a sanitizer would take
         kill(getpid(), SIGSEGV);
       }},
      {"leaves without a word", [] { _exit(7); }},
      {"finds no memory", [] { _exit(workerNoMemoryStatus); }},
      {"never runs", [] { _exit(127); }},
      {"babbles", [] { say("hello"); }},
      {"sends control characters", [] { sayControlCharacters(); }},
      {"babbles without end", [] { sayForEver("hello"); }},
      {"tells the layout without end", [&] { sayForEver(layoutMessage(layout)); }},
      {"tells another layout",
       [&] {
         say(layoutMessage(other));
         sendBytes(bytes);
       }},
      {"sends bytes before the layout",
       [&] {
         sendBytes(bytes);
         sleepForEver();
       }},
      {"sends too much",
       [&] {
         say(layoutMessage(layout));
         sendBytes(bytes + 1);
         say(good);
       }},
      {"sends too little",
       [&] {
         say(layoutMessage(layout));
         sendBytes(bytes - 1);
         say(good);
       }},
      {"sends nothing", [&] { say(good); }},
      {"takes its time",
       [&] {
         giveSignsFor(std::chrono::milliseconds(900));
         say(layoutMessage(layout));
         sendBytes(bytes / 2);
         giveSignsFor(std::chrono::milliseconds(900));
         sendBytes(bytes - bytes / 2);
         say(good);
       }},
      {"refuses wrong descriptors",
       [&] { say(outcomeMessage(hasTheRightDescriptors() ? outcome::refused("right") : outcome::busy())); }},
      {"closes early",
       [&] {
         say(layoutMessage(layout));
         sendBytes(bytes / 2);
         close(workerImageDescriptor);
         sleepForEver();
       }},
      {"stays after the end",
       [&] {
         say(layoutMessage(layout));
         sendBytes(bytes);
         say(good);
         close(workerImageDescriptor);
         sleepForEver();
       }},
  };
  const auto deed = deeds.find(request->scanner);
  if (deed == deeds.end()) return 8;
  deed->second();
}
