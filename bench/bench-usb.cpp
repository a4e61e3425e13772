// The libusb stack on an emulated usbfs, compared with a bare loop of libusb_bulk_transfer() over the same
// bytes: how fast a page is read, how many system calls that takes, and what it costs to wait for a silent
// device. All share the emulation and its cost; it runs on a separate thread.
#include <benchmark/benchmark.h>
#include <libusb.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "DeviceHost.h"
#include "DeviceIdentity.h"
#include "EmulatedUsbfs.h"
#include "LibusbStack.h"
#include "StackUser.h"
#include "SystemCalls.h"

namespace {

using std::chrono::steady_clock;
using virtualscanner::VirtualScanner;

constexpr std::uint32_t readSize = 102400;  // of the driver's reads of the data pipe
constexpr std::uint32_t noDataMs = 5000, completionMs = 20000;
constexpr std::uint32_t silenceMs = 5000;
constexpr std::size_t rounds = 31;
constexpr std::uint8_t dataPipe = 3;
using virtualscanner::dataEndpoint;
constexpr virtualscanner::PageRequest wholePage{300, true, 0, 0, 2550, 3500};  // 27 MB

void require(bool done, const char* what) {
  if (done) return;
  std::fprintf(stderr, "bench-usb: %s failed\n", what);
  std::abort();
}

virtualscanner::ScannerOptions paintedAhead() {
  virtualscanner::ScannerOptions options;
  options.paintAhead = true;
  return options;
}

// The scanner on its emulated usbfs, one for all.
class Bus {
 public:
  static Bus& get() {
    static Bus bus;
    return bus;
  }
  // Makes the device send a page; returns the bytes of its stream.
  std::size_t startPage() {
    usbfs_.withScanner(
        [](VirtualScanner& scanner) { require(DeviceHost(scanner).startJob(wholePage), "starting a page"); });
    return streamSize_;
  }
  void endPage() {
    usbfs_.withScanner([](VirtualScanner& scanner) { DeviceHost(scanner).exit(); });
  }

 private:
  Bus() {
    VirtualScanner twin(virtualscanner::Paper::testChart(), paintedAhead());
    DeviceHost host(twin);
    require(host.startJob(wholePage), "starting the first page");
    streamSize_ = host.readStream().size();
  }

  VirtualScanner scanner_{virtualscanner::Paper::testChart(), paintedAhead()};
  EmulatedUsbfs usbfs_{scanner_, {}};
  std::size_t streamSize_ = 0;
};

// Both return the number of bytes that a read moved.
class StackReader {
 public:
  StackReader() { require(interface_ && interface_->open() == platform::kIOReturnSuccess, "opening"); }
  std::size_t read(std::uint8_t* buffer) {
    std::uint32_t size = readSize;
    const platform::IOReturn status = interface_->readPipeTO(dataPipe, buffer, &size, noDataMs, completionMs);
    require(status == platform::kIOReturnSuccess, "reading");
    return size;
  }
  platform::UsbInterface& interface() { return *interface_; }

 private:
  platform::LibusbStack stack_;
  StackUser::Interface interface_ = StackUser(stack_).interface();
};

template <unsigned int timeoutMs>
class BareReader {
 public:
  BareReader() {
    require(libusb_init(&context_) == LIBUSB_SUCCESS, "setting up libusb");
    handle_ = libusb_open_device_with_vid_pid(context_, platform::deviceVendorId, platform::deviceProductId);
    require(handle_ != nullptr, "opening without the stack");
    require(libusb_claim_interface(handle_, 0) == LIBUSB_SUCCESS, "claiming without the stack");
  }
  ~BareReader() {
    libusb_release_interface(handle_, 0);
    libusb_close(handle_);
    libusb_exit(context_);
  }
  BareReader(const BareReader&) = delete;
  BareReader& operator=(const BareReader&) = delete;
  std::size_t read(std::uint8_t* buffer) {
    int moved = 0;
    const int error = libusb_bulk_transfer(handle_, dataEndpoint, buffer, readSize, &moved, timeoutMs);
    require(error == LIBUSB_SUCCESS, "reading without the stack");
    return static_cast<std::size_t>(moved);
  }

 private:
  libusb_context* context_ = nullptr;
  libusb_device_handle* handle_ = nullptr;
};

struct Measured {
  double bytesPerSecond;
  double callsPerMegabyte;
};

template <typename Reader>
Measured readPage() {
  std::vector<std::uint8_t> buffer(readSize);
  const std::size_t size = Bus::get().startPage();
  Reader reader;
  const std::uint64_t callsBefore = systemCalls();
  const auto start = steady_clock::now();
  for (std::size_t moved = 0; moved < size;) {
    const std::size_t count = reader.read(buffer.data());
    require(count > 0, "reading up to the end");
    moved += count;
  }
  const std::chrono::duration<double> time = steady_clock::now() - start;
  const auto calls = static_cast<double>(systemCalls() - callsBefore);
  Bus::get().endPage();
  return {static_cast<double>(size) / time.count(), calls / (static_cast<double>(size) / 1e6)};
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// The contenders take turns, a page each, so that load on the machine affects all of them. The ratio is the
// median of the rounds' ratios.
void BM_Read(benchmark::State& state) {
  static constexpr std::array contenders = {&readPage<StackReader>, &readPage<BareReader<0>>,
                                            &readPage<BareReader<completionMs>>};
  static constexpr std::array names = {"stack", "bare", "bareWithTimeout"};
  std::array<std::vector<double>, contenders.size()> rates;
  std::array<std::vector<double>, contenders.size()> ratios;
  std::array<double, contenders.size()> calls{};
  for (auto _ : state) {
    for (std::size_t round = 0; round < rounds; ++round) {
      for (std::size_t turn = 0; turn < contenders.size(); ++turn) {
        const std::size_t n = (round + turn) % contenders.size();
        const Measured measured = contenders[n]();
        rates[n].push_back(measured.bytesPerSecond);
        calls[n] = measured.callsPerMegabyte;
      }
      for (std::size_t n = 0; n < contenders.size(); ++n)
        ratios[n].push_back(rates[0].back() / rates[n].back());
    }
  }
  for (std::size_t n = 0; n < contenders.size(); ++n) {
    const std::string name = names[n];
    state.counters[name + "Rate"] = median(rates[n]);
    state.counters[name + "Calls"] = calls[n];
    state.counters[name + "Ratio"] = median(ratios[n]);
  }
}

// Microseconds of the calling thread, in the system and out of it.
double processorTime() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  const auto microseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
  };
  return microseconds(usage.ru_utime) + microseconds(usage.ru_stime);
}

void BM_Silence(benchmark::State& state) {
  std::vector<std::uint8_t> buffer(readSize);
  Bus::get();  // first: whoever uses the bus must go before it
  StackReader reader;
  for (auto _ : state) {
    std::uint32_t size = readSize;
    const std::uint64_t callsBefore = systemCalls();
    const double before = processorTime();
    const platform::IOReturn status =
        reader.interface().readPipeTO(dataPipe, buffer.data(), &size, silenceMs, 0);
    require(status == platform::kIOUSBTransactionTimeout, "waiting");
    state.counters["processorMicroseconds"] = processorTime() - before;
    state.counters["calls"] = static_cast<double>(systemCalls() - callsBefore);
  }
}

}  // namespace

BENCHMARK(BM_Read)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Silence)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
