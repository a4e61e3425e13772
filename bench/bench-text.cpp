// Base64 and hexadecimal text, compared with copying the same bytes.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "StringUtils.h"

namespace {

constexpr std::size_t size = 3 << 20;

std::vector<unsigned char> someBytes() {
  std::vector<unsigned char> bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(i * 2654435761U >> 11);
  return bytes;
}

void processed(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * std::int64_t{size});
}

void BM_Base64Write(benchmark::State& state) {
  std::vector<unsigned char> bytes = someBytes();
  for (auto _ : state) benchmark::DoNotOptimize(StrToBase64(bytes.data(), static_cast<int>(size)));
  processed(state);
}

void BM_Base64Read(benchmark::State& state) {
  std::vector<unsigned char> bytes = someBytes();
  const std::string text = StrToBase64(bytes.data(), static_cast<int>(size));
  for (auto _ : state)
    benchmark::DoNotOptimize(Base64ToStr(text.c_str(), bytes.data(), static_cast<int>(size)));
  processed(state);
}

void BM_HexRead(benchmark::State& state) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) text += "7F";
  std::vector<unsigned char> bytes(size);
  for (auto _ : state) benchmark::DoNotOptimize(ahtom(text.c_str(), bytes.data()));
  processed(state);
}

void BM_Memcpy(benchmark::State& state) {
  const std::vector<unsigned char> bytes = someBytes();
  for (auto _ : state) {
    std::vector<unsigned char> copy(bytes);
    benchmark::DoNotOptimize(copy.data());
  }
  processed(state);
}

}  // namespace

BENCHMARK(BM_Base64Write)->Repetitions(3);
BENCHMARK(BM_Base64Read)->Repetitions(3);
BENCHMARK(BM_HexRead)->Repetitions(3);
BENCHMARK(BM_Memcpy)->Repetitions(3);

BENCHMARK_MAIN();
