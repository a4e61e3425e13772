#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "CScannerDriver.h"
#include "ConversionEnvironment.h"
#include "HookedUsbStack.h"
#include "OutputFolder.h"
#include "RecordingLogSink.h"
#include "ScannerInterface.h"
#include "StringUtils.h"
#include "TemporaryFolder.h"
#include "VirtualScanner.h"
#include "VirtualUsbStack.h"

namespace {

using namespace virtualscanner;

constexpr const char* dumpPath = "/tmp/vexo-data-dump";

struct Job {
  const char* name;
  int resolution;
  int mode;
  std::uint32_t left, top, right, bottom;
  int unplugAt = 0;
};

constexpr Job jobs[] = {
    {"75-grey", 75, 2, 0, 0, 10200, 14028},          {"75-colour", 75, 0, 333, 777, 4001, 5005},
    {"150-grey", 150, 2, 1, 3, 2005, 1407},          {"200-colour", 200, 0, 1003, 1, 2009, 1999},
    {"300-grey", 300, 2, 5000, 7000, 7001, 8003},    {"400-grey", 400, 2, 7, 7, 1207, 1001},
    {"600-grey", 600, 2, 9000, 13000, 10200, 14028}, {"600-colour", 600, 0, 600, 600, 1607, 1211},
    {"97-refused", 97, 2, 0, 0, 1000, 1000, 40},
};

// No byte is dumped before the first image byte arrived.
std::uint32_t sizeOfDump() {
  std::error_code missing;
  const std::uintmax_t size = std::filesystem::file_size(dumpPath, missing);
  return missing ? 0 : static_cast<std::uint32_t>(size);
}

// Every byte of a job both ways, transfer by transfer, and how the dump grows with it.
class Recorder {
 public:
  explicit Recorder(HookedUsbStack& stack) {
    stack.afterTransfer = [this](const HookedUsbStack::Done& done) { note(done); };
  }

  std::string sent;
  std::string received;
  std::string transfers;

 private:
  void note(const HookedUsbStack::Done& done) {
    (done.isRead ? received : sent).append(done.bytes, done.moved);
    transfers += (done.isRead ? "read " : "write ") + ulToString(done.pipe) + " " + ulToString(done.moved) +
                 " " + ulToString(static_cast<std::uint32_t>(done.status)) + " " + ulToString(sizeOfDump()) +
                 "\n";
  }
};

std::string readAllRows(intptr_t handle) {
  std::string rows;
  std::vector<unsigned char> buffer(100003);
  for (int call = 0; call < 200; ++call) {
    std::uint32_t delivered = 0;
    const int result =
        ReadImage(handle, buffer.data(), static_cast<std::uint32_t>(buffer.size()), &delivered);
    if (result != 0 || delivered == 0) break;
    rows.append(reinterpret_cast<const char*>(buffer.data()), delivered);
  }
  return rows;
}

void scan(const OutputFolder& folder, const Job& job, ScannerOptions options) {
  const std::string name = std::string("scan-") + job.name;
  std::remove(dumpPath);
  conversionEnvironment().tiffPath = folder / name + ".tiff";
  // The library takes its request numbers from rand().
  std::srand(7);
  VirtualScanner scanner(Paper::testChart(), std::move(options));
  VirtualUsbStack plugged(scanner);
  // A host waits forever for a page that was refused.
  HookedUsbStack stack(plugged, [&](int transfer) {
    if (transfer == job.unplugAt) scanner.unplug();
  });
  const Recorder recorder(stack);
  const RecordingLogSink log;
  platform::useUsbStack(&stack);
  const intptr_t handle = EnableScanner();
  SetScanParameterEx(handle, job.resolution, job.resolution, job.mode, job.left, job.top, job.right,
                     job.bottom);
  const int result = StartScan(handle);
  folder.write(name + "-rows.bin", readAllRows(handle));
  DisableScanner(handle);
  platform::useUsbStack(nullptr);

  folder.write(name + "-sent.bin", recorder.sent);
  folder.write(name + "-received.bin", recorder.received);
  folder.write(name + "-dump.pnm", contentOf(dumpPath));
  std::string told = "result " + iToString(result) + "\n" + recorder.transfers;
  for (const std::string& line : log.lines) told += line + "\n";
  folder.write(name + "-told.txt", told);
}

}  // namespace

void writeScans(const OutputFolder& folder) {
  const std::string designed = conversionEnvironment().tiffPath;
  ScannerOptions options;
  for (const Job& job : jobs) {
    scan(folder, job, options);
    // The next one differs in how it cuts its stream.
    options.packetPayload = options.packetPayload / 3 + 1;
    options.alternateSettings = !options.alternateSettings;
    options.transferBytes = options.alternateSettings ? 40000 : 0;
  }
  conversionEnvironment().tiffPath = designed;
}
