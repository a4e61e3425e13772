// The libusb stack on an emulated usbfs, beside a bare loop of libusb_bulk_transfer() over the same bytes:
// how fast a page is read, how many calls of the system that takes, and what it costs to wait for a device
// that says nothing. All share the emulation and its cost, which runs on a thread of its own.
#include <benchmark/benchmark.h>
#include <libusb.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "DeviceHost.h"
#include "DeviceIdentity.h"
#include "EmulatedUsbfs.h"
#include "LibusbStack.h"
#include "StackUser.h"
#include "SystemCalls.h"

namespace {

using Clock = std::chrono::steady_clock;
using virtualscanner::VirtualScanner;

constexpr std::uint32_t readSize = 102400;  // of the driver's reads of the data pipe
constexpr std::uint32_t noDataMs = 5000, completionMs = 20000;
constexpr std::uint32_t silenceMs = 5000;
constexpr std::uint8_t dataPipe = 3;
constexpr unsigned char dataEndpoint = 0x88;
constexpr virtualscanner::ScanRequest wholePage{300, true, 0, 0, 2550, 3500};  // 27 MB

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
  // The device has a page to send; its bytes.
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

// Both answer how many bytes a read brought.
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

template <typename Reader>
void BM_Read(benchmark::State& state) {
  std::vector<std::uint8_t> buffer(readSize);
  std::size_t size = 0;
  std::uint64_t calls = 0;
  for (auto _ : state) {
    size = Bus::get().startPage();
    Reader reader;
    const std::uint64_t callsBefore = systemCalls();
    const auto start = Clock::now();
    for (std::size_t moved = 0; moved < size;) {
      const std::size_t count = reader.read(buffer.data());
      require(count > 0, "reading up to the end");
      moved += count;
    }
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    calls = systemCalls() - callsBefore;
    Bus::get().endPage();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(size));
  state.counters["callsPerMegabyte"] = static_cast<double>(calls) / (static_cast<double>(size) / 1e6);
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
  Bus::get();  // comes before the first to use it
  StackReader reader;
  for (auto _ : state) {
    std::uint32_t size = readSize;
    const std::uint64_t callsBefore = systemCalls();
    const double before = processorTime();
    const auto start = Clock::now();
    const platform::IOReturn status =
        reader.interface().readPipeTO(dataPipe, buffer.data(), &size, silenceMs, 0);
    require(status == platform::kIOUSBTransactionTimeout, "waiting");
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
    state.counters["processorMicroseconds"] = processorTime() - before;
    state.counters["calls"] = static_cast<double>(systemCalls() - callsBefore);
  }
}

void BM_Stack(benchmark::State& state) {
  BM_Read<StackReader>(state);
}
void BM_Bare(benchmark::State& state) {
  BM_Read<BareReader<0>>(state);
}
void BM_BareWithTimeout(benchmark::State& state) {
  BM_Read<BareReader<completionMs>>(state);
}

}  // namespace

// One page each time, so that the three can take turns.
BENCHMARK(BM_Stack)->Iterations(1)->Repetitions(15)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_Bare)->Iterations(1)->Repetitions(15)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_BareWithTimeout)->Iterations(1)->Repetitions(15)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_Silence)->Iterations(1)->Unit(benchmark::kMillisecond)->UseManualTime();

BENCHMARK_MAIN();
