// Reproducible test data.
#pragma once

#include <cstddef>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

namespace kivsr::test {

class Random {
 public:
  explicit Random(unsigned seed = 1) : engine_(seed) {}

  double uniform(double low, double high) { return std::uniform_real_distribution<double>(low, high)(engine_); }
  int integer(int low, int high) { return std::uniform_int_distribution<int>(low, high)(engine_); }
  double normal() { return std::normal_distribution<double>()(engine_); }

  // n values in [low, high]; integers may take both ends.
  template <class T>
  std::vector<T> values(std::size_t n, double low, double high) {
    std::vector<T> result(n);
    for (T& x : result) x = value<T>(low, high);
    return result;
  }
  template <class T>
  T value(double low, double high) {
    if constexpr (std::is_integral_v<T>) {
      return static_cast<T>(std::uniform_int_distribution<long long>(whole(low), whole(high))(engine_));
    } else {
      return static_cast<T>(uniform(low, high));
    }
  }
  // Integers near the minimum, near the maximum or anywhere, by regime 0, 1, 2.
  template <class T>
  T extreme(int regime) {
    using L = std::numeric_limits<T>;
    const double low = static_cast<double>(L::min());
    const double high = static_cast<double>(L::max());
    if (regime == 0) return value<T>(low, low + 7);
    if (regime == 1) return value<T>(high - 7, high);
    return value<T>(low, high);
  }

 private:
  // The double next to the largest integer of 64 bits is not one.
  static long long whole(double x) {
    return x >= 0x1p63 ? std::numeric_limits<long long>::max() : static_cast<long long>(x);
  }

  std::mt19937 engine_;
};

// Every length below two of the widest vectors, and some beyond the blocks of the kernels.
inline std::vector<int> test_lengths() {
  std::vector<int> lengths;
  for (int n = 1; n <= 33; ++n) lengths.push_back(n);
  for (int n : {39, 63, 64, 65, 100, 127, 128, 129, 255, 257, 513, 1000}) lengths.push_back(n);
  return lengths;
}

}  // namespace kivsr::test
