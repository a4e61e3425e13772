// Cutting a stream into packets, in chunks of 102400 bytes, compared with copying the same bytes once.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "USBScanProtocol.h"

namespace {

constexpr std::size_t chunkSize = 102400;
constexpr std::size_t streamSize = 32'768'000;  // a multiple of the chunk and of every packet size

// Packets of `packetSize` bytes in all, header included.
std::string streamOfPackets(std::size_t packetSize) {
  std::string packet(packetSize, '\x55');
  const std::size_t payload = packetSize - 8;
  packet.replace(0, 8,
                 std::string("\xDD\0\0\0", 4) + static_cast<char>(payload >> 24) +
                     static_cast<char>(payload >> 16) + static_cast<char>(payload >> 8) +
                     static_cast<char>(payload));
  std::string stream;
  stream.reserve(streamSize);
  while (stream.size() + packetSize <= streamSize) stream += packet;
  return stream;
}

struct Received {
  std::uint64_t packets = 0;
  std::uint64_t bytes = 0;
};

void countImageData(void* /*bytes*/, int length, void* info) {
  auto* received = static_cast<Received*>(info);
  ++received->packets;
  received->bytes += static_cast<std::uint64_t>(length);
}

void BM_Packets(benchmark::State& state) {
  const std::string stream = streamOfPackets(static_cast<std::size_t>(state.range(0)));
  Received received;
  USBScanProtocolCallbacks callbacks{};
  callbacks.info = &received;
  callbacks.imageData = countImageData;
  for (auto _ : state) {
    auto parser = initUSBScanProtocol(&callbacks);
    std::vector<char> chunk(chunkSize);
    for (std::size_t at = 0; at < stream.size(); at += chunkSize) {
      const std::size_t count = std::min(chunkSize, stream.size() - at);
      std::memcpy(chunk.data(), stream.data() + at, count);
      receiveData(parser, chunk.data(), static_cast<int>(count), 0);
    }
    releaseUSBScanProtocol(parser);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
  state.counters["packets"] =
      benchmark::Counter(static_cast<double>(received.packets), benchmark::Counter::kIsRate);
}

void BM_Memcpy(benchmark::State& state) {
  const std::string stream = streamOfPackets(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::vector<char> copy;
    for (std::size_t at = 0; at < stream.size(); at += chunkSize) {
      const std::size_t count = std::min(chunkSize, stream.size() - at);
      copy.insert(copy.end(), stream.data() + at, stream.data() + at + count);
      benchmark::DoNotOptimize(copy.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stream.size()));
}

}  // namespace

// A fixed number of rounds: what a parser replaces stays allocated by design.
BENCHMARK(BM_Packets)
    ->Arg(8)
    ->Arg(1024)
    ->Arg(65536)
    ->Iterations(5)
    ->Repetitions(3)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Memcpy)->Arg(8)->Arg(1024)->Arg(65536)->Iterations(5)->Repetitions(3)->Unit(
    benchmark::kMillisecond);

BENCHMARK_MAIN();
