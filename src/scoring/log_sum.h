// Log-summation of one vector, ln(sum of e^x[i]), defined as a running log-addition from the first element to the last:
// a term further than the cut-off below the running value is dropped, and so is a running value further than that below
// a new term.
//
// Running additions depend on each other, and each takes a polynomial. The fast form keeps the running value as a
// multiple of e^maximum instead: its additions are plain sums, the cut-off is a factor, and one logarithm follows at
// the end. Blocks of elements are added at once wherever the order inside the block cannot be told from the rounding of
// the running value: by a bound of the running value in one pass, else by limits that know the block's sum in a second
// one; else they are added one by one by the rule above. Vectors with an element that is not finite or lies below the
// log zero take the running log-addition itself.
#pragma once

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "frame/simd/math.h"
#include "frame/simd/vec.h"
#include "log_add.h"
#include "log_tables.h"

namespace kivsr {

template <class T>
struct LogSumSet;
template <>
struct LogSumSet<float> {
  using Set = Degree10;
  // e^cut-off, between the last value that is dropped and the first one that is not.
  static constexpr float cut_off_factor = 2.222221712e-07F;
};
template <>
struct LogSumSet<double> {
  using Set = Degree21;
  static constexpr double cut_off_factor = 2.2222222222221057e-07;
};

// The definition; the running value is rounded to T after every step.
template <class T>
inline T running_log_sum(const T* src, std::ptrdiff_t len) {
  using V = simd::Vec<T>;
  T running = src[0];
  for (std::ptrdiff_t i = 1; i < len; ++i) {
    running = log_add<typename LogSumSet<T>::Set>(V::broadcast(src[i]), V::broadcast(running)).first();
  }
  return running;
}

namespace log_sum_detail {

inline constexpr int kBlock = 128;
inline constexpr int kFirst = 8;

// An own type, whose objects stay in the library: those of std are visible outside.
template <class T>
struct Ones {
  constexpr Ones() {
    for (T& lane : lanes) lane = 1;
  }
  T lanes[simd::Vec<T>::width]{};
};
template <class T>
inline constexpr Ones<T> kOnes;

// l < n ? p[l] : padding
template <class T>
inline simd::Vec<T> load_padded(const T* p, int n, T padding) {
  using V = simd::Vec<T>;
  return select(simd::load_some<T>(kOnes<T>.lanes, n) > V::zero(), simd::load_some<T>(p, n), V::broadcast(padding));
}

// The largest element, and whether every element is finite and not below the log zero.
template <class T>
inline bool regular_maximum(const T* src, std::ptrdiff_t len, T* maximum) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  const V lowest = V::broadcast(static_cast<T>(kLogZero));
  V even = V::broadcast(src[0]);
  V odd = even;
  simd::Mask<T> regular = even >= lowest;
  const auto take = [&](V x, V* largest) {
    regular = regular & (x >= lowest);
    *largest = max(x, *largest);
  };
  std::ptrdiff_t i = 0;
#pragma GCC unroll 2
  for (; i + 2 * W <= len; i += 2 * W) {
    take(simd::load<T>(src + i), &even);
    take(simd::load<T>(src + i + W), &odd);
  }
  if (i + W <= len) take(simd::load<T>(src + i), &even);
  if (len < W) {
    take(load_padded(src, static_cast<int>(len), src[0]), &odd);
  } else if (len % W != 0) {
    take(simd::load<T>(src + len - W), &odd);
  }
  *maximum = simd::max_lanes(max(even, odd));
  return simd::all(regular) && *maximum <= std::numeric_limits<T>::max();
}

// One term after the other.
template <class T>
inline T add_in_order(T sum, const T* terms, int len) {
  using V = simd::Vec<T>;
  const V factor = V::broadcast(LogSumSet<T>::cut_off_factor);
  const V inverse = V::broadcast(1 / LogSumSet<T>::cut_off_factor);
  V running = V::broadcast(sum);
  for (int i = 0; i < len; ++i) {
    const V x = V::broadcast(terms[i]);
    running = keep_where(running <= x * inverse, x) + keep_where(running >= x * factor, running);
  }
  return running.first();
}

// visit(i, terms) with the vectors of terms e^(src[i] - maximum). The last one is filled up with terms that do not
// count.
template <class T, class Visit>
[[gnu::always_inline]] inline void each_exponential(const T* src, int len, T maximum, Visit visit) {
  using V = simd::Vec<T>;
  constexpr int W = V::width;
  assert(len >= 1 && len <= kBlock);
  const V largest = V::broadcast(maximum);
  const int full = len - len % W;
#pragma GCC unroll 2
  for (int i = 0; i < full; i += W) visit(i, simd::exp_nonpositive(simd::load<T>(src + i) - largest));
  if (full == len) return;
  const V last = load_padded(src + full, len - full, -std::numeric_limits<T>::infinity());
  visit(full, simd::exp_nonpositive(last - largest));
}

// Adds a block to the sum if that takes one pass: every running value is expected to be below a bound, so that a term
// above the bound's cut-off is kept wherever it stands, and those below it, kept or dropped, must not be felt. In
// double precision they nearly always are.
template <class T>
inline bool add_expected(T* sum, const T* src, int len, T maximum) {
  if (std::is_same_v<T, double>) return false;
  using V = simd::Vec<T>;
  constexpr T kHalfUnit = std::numeric_limits<T>::epsilon() / 2;
  const T bound = 2 * *sum + (1 + static_cast<T>(len) / 16);
  const T limit = bound * LogSumSet<T>::cut_off_factor;
  const V kept_from = V::broadcast(limit);
  V kept = V::zero();
  V doubtful = V::zero();
  each_exponential(src, len, maximum, [&](int, V x) {
    const V certain = keep_where(x >= kept_from, x);
    kept = kept + certain;
    doubtful = doubtful + (x - certain);
  });
  const T doubt = simd::sum_lanes(doubtful);
  const T end = *sum + simd::sum_lanes(kept);
  if (end + doubt > bound || doubt + (*sum < limit ? *sum : T{0}) > static_cast<T>(len) * kHalfUnit * end) return false;
  *sum = end;
  return true;
}

// The sum and a block of terms, `total` their sum.
template <class T>
inline T add_block(T sum, const T* terms, int len, T total) {
  using V = simd::Vec<T>;
  constexpr T kFactor = LogSumSet<T>::cut_off_factor;
  assert(sum > 0 && len >= 1);
  // Terms below the first limit are dropped wherever they stand; terms above the second one nowhere.
  const V dropped_below = V::broadcast(sum * kFactor);
  const V kept_from = V::broadcast((sum + total) * kFactor);
  V possible = V::zero();
  V certain = V::zero();
#pragma GCC unroll 2
  for (int i = 0; i < len; i += V::width) {
    const V x = simd::load<T>(terms + i);
    possible = possible + keep_where(x >= dropped_below, x);
    certain = certain + keep_where(x >= kept_from, x);
  }
  const T block = simd::sum_lanes(possible);
  const T end = sum + block;
  const bool loses_first = sum < block * kFactor;
  const T doubtful = block - simd::sum_lanes(certain) + (loses_first ? sum : T{0});
  if (doubtful > static_cast<T>(len) * (std::numeric_limits<T>::epsilon() / 2) * end) {
    return add_in_order(sum, terms, len);
  }
  return loses_first ? block : end;
}

// Adds a block to the sum, which is zero before the first one, by the limits that follow from the block's own sum.
template <class T>
[[gnu::noinline]] void add_known(T* sum, const T* src, int len, T maximum) {
  using V = simd::Vec<T>;
  constexpr int W = V::width;
  // Vectors that begin behind the first elements may end behind the last whole one: zeros, which do not count.
  constexpr int kBehind = W > kFirst ? W : 0;
  alignas(64) T terms[kBlock + kBehind];
  if constexpr (kBehind != 0) simd::store(terms + (len + W - 1) / W * W, V::zero());
  V totals = V::zero();
  each_exponential(src, len, maximum, [&](int i, V x) {
    simd::store(terms + i, x);
    totals = totals + x;
  });
  int done = 0;
  if (*sum == 0) {
    done = std::min(kFirst, len);
    *sum = add_in_order(terms[0], terms + 1, done - 1);
  }
  if (done < len) *sum = add_block(*sum, terms + done, len - done, simd::sum_lanes(totals));
}

}  // namespace log_sum_detail

template <class T>
inline T log_sum(const T* src, std::ptrdiff_t len) {
  using namespace log_sum_detail;
  assert(len >= 1);
  if (len == 1) return src[0];
  T maximum;
  if (!regular_maximum(src, len, &maximum)) return running_log_sum(src, len);

  T sum{};
  for (std::ptrdiff_t i = 0; i < len;) {
    const int n = static_cast<int>(std::min<std::ptrdiff_t>(kBlock, len - i));
    if (!add_expected(&sum, src + i, n, maximum)) add_known(&sum, src + i, n, maximum);
    i += n;
  }
  return maximum + std::log(sum);  // of a positive number: errno is safe
}

}  // namespace kivsr
