// Registration of benchmarks named operation/who/size, who being "ours" or the name of a peer.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <string>

namespace kivsr::bench {

inline constexpr int kSizes[] = {64, 1024, 65536};

// Runs call() in the timed loop. It must write through memory, or return its result.
template <class Call>
void measure(const std::string& operation, const std::string& who, int size, Call call) {
  benchmark::RegisterBenchmark((operation + "/" + who + "/" + std::to_string(size)).c_str(),
                               [call](benchmark::State& state) {
                                 for (auto _ : state) {
                                   if constexpr (std::is_void_v<decltype(call())>) {
                                     call();
                                   } else {
                                     benchmark::DoNotOptimize(call());
                                   }
                                   benchmark::ClobberMemory();
                                 }
                               });
}

// n elements on a 64-byte boundary, filled by fill(i); they live as long as the process.
template <class T, class Fill>
T* array(int n, Fill fill) {
  const std::size_t bytes = (static_cast<std::size_t>(n) * sizeof(T) + 63) / 64 * 64;
  T* const data = static_cast<T*>(std::aligned_alloc(64, bytes));
  if (data == nullptr) throw std::bad_alloc();
  for (int i = 0; i < n; ++i) data[i] = static_cast<T>(fill(i));
  return data;
}

// Reproducible numbers in [0, 1).
inline double noise(int i) {
  unsigned x = static_cast<unsigned>(i) * 2654435769U + 12345U;
  x ^= x >> 15;
  x *= 2246822519U;
  x ^= x >> 13;
  return x / 4294967296.0;
}

// Extremes by value, so that the peers' loops become vector code.
template <class T>
T larger(T a, T b) {
  return a > b ? a : b;
}
template <class T>
T smaller(T a, T b) {
  return a < b ? a : b;
}
template <class T>
T limited(T x, T low, T high) {
  return smaller(larger(x, low), high);
}

}  // namespace kivsr::bench
