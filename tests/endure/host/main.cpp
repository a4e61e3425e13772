// A SANE program that scans COUNT small pages, one after the other, in one process, and prints what it holds
// after every EVERY of them: the number of the scan, resident memory in KiB, open descriptors, threads.
// Started by tools/endure.
#include <dirent.h>
#include <dlfcn.h>
#include <sane/sane.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr int pageDiffers = 99;

using Page = std::vector<SANE_Byte>;

void require(SANE_Status status, const char* call) {
  if (status == SANE_STATUS_GOOD) return;
  std::fprintf(stderr, "%s: status %d\n", call, status);
  std::exit(status);
}

// The functions of the back end. Never unloaded: a leak check at the end has to know their names.
class BackEnd {
 public:
  explicit BackEnd(const char* path) : library_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) std::fprintf(stderr, "%s\n", dlerror()), std::exit(SANE_STATUS_UNSUPPORTED);
  }

 private:
  template <typename Function>
  Function* function(const char* name) const {
    return reinterpret_cast<Function*>(dlsym(library_, (std::string("sane_quenvar_") + name).c_str()));
  }

  void* library_;

 public:
  decltype(sane_init)* const init = function<decltype(sane_init)>("init");
  decltype(sane_exit)* const exit = function<decltype(sane_exit)>("exit");
  decltype(sane_open)* const open = function<decltype(sane_open)>("open");
  decltype(sane_close)* const close = function<decltype(sane_close)>("close");
  decltype(sane_get_option_descriptor)* const descriptor =
      function<decltype(sane_get_option_descriptor)>("get_option_descriptor");
  decltype(sane_control_option)* const control = function<decltype(sane_control_option)>("control_option");
  decltype(sane_start)* const start = function<decltype(sane_start)>("start");
  decltype(sane_read)* const read = function<decltype(sane_read)>("read");
  decltype(sane_cancel)* const cancel = function<decltype(sane_cancel)>("cancel");
};

void set(const BackEnd& backEnd, SANE_Handle scanner, const char* name, SANE_Word value) {
  for (SANE_Int index = 1;; ++index) {
    const SANE_Option_Descriptor* option = backEnd.descriptor(scanner, index);
    if (option == nullptr) require(SANE_STATUS_INVAL, name);
    if (option->name == nullptr || std::strcmp(option->name, name) != 0) continue;
    return require(backEnd.control(scanner, index, SANE_ACTION_SET_VALUE, &value, nullptr), name);
  }
}

Page scan(const BackEnd& backEnd, SANE_Handle scanner) {
  Page page;
  SANE_Byte buffer[4096];
  SANE_Int length = 0;
  require(backEnd.start(scanner), "sane_start");
  SANE_Status status = SANE_STATUS_GOOD;
  while ((status = backEnd.read(scanner, buffer, sizeof buffer, &length)) == SANE_STATUS_GOOD)
    page.insert(page.end(), buffer, buffer + length);
  require(status == SANE_STATUS_EOF ? SANE_STATUS_GOOD : status, "sane_read");
  backEnd.cancel(scanner);
  return page;
}

long entriesOf(const char* folder) {
  long count = 0;
  DIR* entries = opendir(folder);
  while (entries != nullptr && readdir(entries) != nullptr) ++count;
  if (entries != nullptr) closedir(entries);
  return count;
}

long residentKiB() {
  long total = 0;
  long resident = 0;
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr) return 0;
  if (std::fscanf(file, "%ld %ld", &total, &resident) != 2) resident = 0;
  std::fclose(file);
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

void printHoldings(long scans) {
  std::printf("%ld %ld %ld %ld\n", scans, residentKiB(), entriesOf("/proc/self/fd"),
              entriesOf("/proc/self/task"));
  std::fflush(stdout);
}

}  // namespace

// LIBRARY COUNT EVERY. The exit status is 0, or the SANE status of the first call that failed; 1 for a page
// that differs from the first.
int main(int argc, char** argv) {
  if (argc != 4) return SANE_STATUS_INVAL;
  const BackEnd backEnd(argv[1]);
  const long count = std::atol(argv[2]);
  const long every = std::atol(argv[3]);
  SANE_Handle scanner = nullptr;
  require(backEnd.init(nullptr, nullptr), "sane_init");
  require(backEnd.open("virtual", &scanner), "sane_open");
  set(backEnd, scanner, "resolution", 75);
  set(backEnd, scanner, "br-x", SANE_FIX(20));
  set(backEnd, scanner, "br-y", SANE_FIX(15));
  const Page first = scan(backEnd, scanner);
  for (long scans = 1; scans <= count; ++scans) {
    if (scans > 1 && scan(backEnd, scanner) != first)
      return std::fputs("a page differs\n", stderr), pageDiffers;
    if (scans % every == 0) printHoldings(scans);
  }
  backEnd.close(scanner);
  backEnd.exit();
  return first.empty() ? pageDiffers : 0;
}
