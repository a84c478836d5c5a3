// Lanes of the vector wrapper in and out of arrays without its own loads and stores, and one test body for operations
// that do the same in every lane.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "frame/simd/vec.h"
#include "support/accuracy.h"
#include "support/random.h"

namespace kivsr::test {

template <class V>
auto lanes(V v) {
  std::array<typename V::Element, V::width> values;
  static_assert(sizeof values == sizeof v);
  std::memcpy(values.data(), &v, sizeof v);
  return values;
}

template <class V, class T>
V vector_of(const T* values) {
  V v;
  std::memcpy(&v, values, sizeof v);
  return v;
}

// The ends of each type and what lies between them.
template <class T>
std::vector<T> edge_values() {
  using L = std::numeric_limits<T>;
  Random random(5);
  std::vector<T> values;
  if constexpr (std::is_integral_v<T>) {
    for (const long long x : {0LL, 1LL, -1LL, 2LL, 255LL, 256LL, 32767LL, 32768LL, -32768LL, -32769LL, 65535LL, 65536LL,
                              0x55555555LL, static_cast<long long>(L::min()), static_cast<long long>(L::max())}) {
      if (x >= L::min() && x <= static_cast<long long>(L::max())) values.push_back(static_cast<T>(x));
    }
    for (int i = 0; i < 33; ++i) values.push_back(random.extreme<T>(2));
  } else {
    for (const double x : {0.0, 0.5, 1.0, 1.5, 2.5, 3.0, 32767.5, 8388608.5, 2147483520.0, 2147483648.0, 1e10}) {
      values.insert(values.end(), {static_cast<T>(x), static_cast<T>(-x)});
    }
    for (const T x : {L::infinity(), L::quiet_NaN(), L::denorm_min(), L::min() / 3, L::min(), L::max()}) {
      values.insert(values.end(), {x, -x});
    }
    for (int i = 0; i < 30; ++i) {
      values.push_back(static_cast<T>(std::ldexp(random.uniform(-1, 1), random.integer(-30, 30))));
    }
  }
  return values;
}

// Every element alone, every pair, and random triples.
template <int kArity, class T>
std::vector<std::array<T, kArity>> combinations(const std::vector<T>& pool) {
  std::vector<std::array<T, kArity>> all;
  Random random(9);
  const auto any = [&] { return pool[static_cast<std::size_t>(random.integer(0, static_cast<int>(pool.size()) - 1))]; };
  if constexpr (kArity == 1) {
    for (const T a : pool) all.push_back({a});
  } else if constexpr (kArity == 2) {
    for (const T a : pool) {
      for (const T b : pool) all.push_back({a, b});
    }
  } else {
    for (int i = 0; i < 20000; ++i) all.push_back({any(), any(), any()});
  }
  while (all.size() % simd::Vec<T>::width != 0) all.push_back(all.front());
  return all;
}

// op(Vec<T>...) does in each lane what reference(T...) does to one element; a mask is compared with a condition.
template <int kArity, class T, class Op, class Reference>
void expect_lanewise(const char* name, Op op, Reference reference, const std::vector<T>& pool = edge_values<T>()) {
  using V = simd::Vec<T>;
  const auto tuples = combinations<kArity>(pool);
  for (std::size_t i = 0; i < tuples.size(); i += V::width) {
    std::array<V, kArity> arguments;
    for (std::size_t a = 0; a < kArity; ++a) {
      T values[V::width];
      for (std::size_t l = 0; l < V::width; ++l) values[l] = tuples[i + l][a];
      arguments[a] = vector_of<V>(values);
    }
    const auto result = std::apply(op, arguments);
    for (std::size_t l = 0; l < V::width; ++l) {
      const auto expected = std::apply(reference, tuples[i + l]);
      std::string of;
      for (const T x : tuples[i + l]) of += ' ' + std::to_string(x);
      if constexpr (std::is_same_v<decltype(expected), const bool>) {
        ASSERT_EQ(bit_mask(result) >> l & 1U, expected ? 1U : 0U) << name << of;
      } else {
        const auto actual = lanes(result)[l];
        ASSERT_TRUE(same_bits<std::remove_const_t<decltype(expected)>>(actual, expected))
            << name << of << ": " << actual << ", expected " << expected;
      }
    }
  }
}

// The lanes folded in halves until one is left.
template <class Lanes, class Operation>
auto folded(Lanes a, Operation operation) {
  for (std::size_t half = a.size() / 2; half > 0; half /= 2) {
    for (std::size_t l = 0; l < half; ++l) a[l] = operation(a[l], a[l + half]);
  }
  return a[0];
}

template <class T>
simd::Vec<T> random_vector(Random& random) {
  T values[simd::Vec<T>::width];
  for (T& x : values) {
    x = random.integer(0, 9) == 0 ? edge_values<T>()[static_cast<std::size_t>(random.integer(0, 30))]
                                  : static_cast<T>(std::ldexp(random.uniform(-1, 1), random.integer(-6, 6)));
  }
  return vector_of<simd::Vec<T>>(values);
}

}  // namespace kivsr::test
