// The whole scan job on a device without cost of its own, compared with a floor that does the same
// unavoidable work: copy the stream in blocks into one growing buffer, copy the raster once, write the dump
// once, write the TIFF once.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "InstantDevice.h"
#include "Log.h"
#include "MovedBytes.h"
#include "ScannerInterface.h"

namespace {

constexpr std::size_t blockSize = 102400;
constexpr std::size_t packetSize = 65536;

// A colour page of about `megabytes` million bytes: its size in pixels and the PPM file that holds it.
struct Page {
  explicit Page(std::int64_t megabytes)
      : width(2048), height(static_cast<unsigned>(megabytes * 1'000'000 / (3 * 2048))) {
    header = "P6\n# page\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    ppm = header;
    ppm.resize(header.size() + rasterSize());
    for (std::size_t i = header.size(); i < ppm.size(); ++i) ppm[i] = static_cast<char>(i * 31 >> 3);
  }
  std::size_t rasterSize() const { return std::size_t{3} * width * height; }

  std::string asStream() const {
    std::string stream;
    InstantDevice::appendPacket(stream, 0xAA, {});
    InstantDevice::appendPacket(stream, 0xBB, {});
    for (std::size_t at = 0; at < ppm.size(); at += packetSize)
      InstantDevice::appendPacket(stream, 0xDD, std::string_view(ppm).substr(at, packetSize));
    InstantDevice::appendPacket(stream, 0xEE, {});
    InstantDevice::appendPacket(stream, 0xFF, {});
    return stream;
  }

  unsigned width;
  unsigned height;
  std::string header;
  std::string ppm;
};

class QuietLog final : public platform::LogSink {
  void line(const platform::LogLine& /*line*/) override {}
};

// Not inlined: tools/bench counts the instructions of this function and of floorWork() by their names.
[[gnu::noinline]] void scan(InstantDevice& device, const Page& page) {
  device.rewind();
  const intptr_t scanner = EnableScanner();
  SetScanParameterEx(scanner, 300, 300, 0, 0, 0, page.width * 4, page.height * 4);
  if (StartScan(scanner) != 0) std::abort();
  DisableScanner(scanner);
}

void writeWhole(const char* path, const char* bytes, std::size_t count) {
  std::FILE* file = std::fopen(path, "wb");
  if (file == nullptr || std::fwrite(bytes, 1, count, file) != count || std::fclose(file) != 0) std::abort();
}

void writeTiff(const char* path, const char* raster, const Page& page) {
  TIFF* tiff = TIFFOpen(path, "w");
  if (tiff == nullptr) std::abort();
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, page.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, page.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 3);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, page.height);
  if (TIFFWriteRawStrip(tiff, 0, const_cast<char*>(raster), static_cast<tmsize_t>(page.rasterSize())) < 0)
    std::abort();
  TIFFClose(tiff);
}

[[gnu::noinline]] void floorWork(const std::string& stream, const Page& page) {
  std::vector<char> buffer;
  for (std::size_t at = 0; at < stream.size(); at += blockSize) {
    const std::size_t count = std::min(blockSize, stream.size() - at);
    buffer.insert(buffer.end(), stream.data() + at, stream.data() + at + count);
  }
  const std::unique_ptr<char, void (*)(void*)> raster(static_cast<char*>(std::malloc(page.rasterSize())),
                                                      &std::free);
  std::memcpy(raster.get(), buffer.data() + (buffer.size() - page.rasterSize()), page.rasterSize());
  writeWhole("/tmp/q750-bench-dump", buffer.data(), buffer.size());
  writeTiff("/tmp/q750-bench.tiff", raster.get(), page);
}

void BM_Floor(benchmark::State& state) {
  const Page page(state.range(0));
  const std::string stream = page.asStream();
  for (auto _ : state) floorWork(stream, page);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(page.rasterSize()));
}

void BM_Job(benchmark::State& state) {
  const Page page(state.range(0));
  InstantDevice device(page.asStream());
  platform::useUsbStack(&device);
  QuietLog quiet;
  platform::useLogSink(&quiet);
  for (auto _ : state) scan(device, page);
  platform::useUsbStack(nullptr);
  platform::useLogSink(nullptr);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(page.rasterSize()));
}

// One run of each, for what is exact: bytes moved as a multiple of the image, and instructions, which
// tools/bench counts from outside.
template <typename Work>
void runOnce(benchmark::State& state, const Page& page, const Work& work) {
  const std::uint64_t before = movedBytes();
  for (auto _ : state) work();
  state.counters["images"] =
      static_cast<double>(movedBytes() - before) / static_cast<double>(page.rasterSize());
}

void BM_FloorOnce(benchmark::State& state) {
  const Page page(state.range(0));
  const std::string stream = page.asStream();
  runOnce(state, page, [&] { floorWork(stream, page); });
}

void BM_JobOnce(benchmark::State& state) {
  const Page page(state.range(0));
  InstantDevice device(page.asStream());
  platform::useUsbStack(&device);
  QuietLog quiet;
  platform::useLogSink(&quiet);
  runOnce(state, page, [&] { scan(device, page); });
  platform::useUsbStack(nullptr);
  platform::useLogSink(nullptr);
}

// One value of /proc/self/status, in KiB.
double statusKiB(const std::string& name) {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != name) continue;
  double value = 0;
  status >> value;
  return value;
}

// Peak memory that one job adds to a process that already holds the stream, as a multiple of the image;
// measured in a child process, so that memory kept by earlier runs does not count.
double peakMemoryInImages(std::int64_t megabytes) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  const pid_t child = fork();
  if (child == 0) {
    const Page page(megabytes);
    InstantDevice device(page.asStream());
    platform::useUsbStack(&device);
    QuietLog quiet;
    platform::useLogSink(&quiet);
    std::ofstream("/proc/self/clear_refs") << "5";  // the peak counts from here
    const double before = statusKiB("VmRSS:");
    scan(device, page);
    const double images = (statusKiB("VmHWM:") - before) * 1024 / static_cast<double>(page.rasterSize());
    if (write(ends[1], &images, sizeof images) != sizeof images) std::abort();
    _exit(0);
  }
  double images = 0;
  if (read(ends[0], &images, sizeof images) != sizeof images) std::abort();
  close(ends[0]);
  close(ends[1]);
  waitpid(child, nullptr, 0);
  return images;
}

void BM_PeakMemory(benchmark::State& state) {
  double images = 0;
  for (auto _ : state) images = peakMemoryInImages(state.range(0));
  state.counters["images"] = images;
}

}  // namespace

BENCHMARK(BM_PeakMemory)->Arg(9)->Arg(36)->Arg(144)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FloorOnce)->Arg(9)->Arg(36)->Arg(144)->Iterations(1);
BENCHMARK(BM_JobOnce)->Arg(9)->Arg(36)->Arg(144)->Iterations(1);
BENCHMARK(BM_Floor)->Arg(9)->Arg(36)->Arg(144)->Repetitions(5)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Job)->Arg(9)->Arg(36)->Arg(144)->Repetitions(5)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
