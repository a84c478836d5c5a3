// Log-summation of one vector, ln(sum of e^x[i]), defined as a running log-addition from the first element to the last:
// a term further than the cut-off below the running value is dropped, and so is a running value further than that below
// a new term.
//
// Running additions depend on each other, and each takes a polynomial. The fast form keeps the running value as a
// multiple of e^maximum instead: its additions are plain sums, the cut-off is a factor, and one logarithm follows at
// the end. Blocks of elements are added at once wherever the order inside the block cannot be told from the rounding of
// the running value; else, and for the first few elements, they are added one by one by the rule above. Vectors with an
// element that is not finite or lies below the log zero take the running log-addition itself.
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>

#include "frame/elementary.h"
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

inline constexpr int kBlock = 64;
inline constexpr int kFirst = 8;

// The largest element, and whether every element is finite and not below the log zero.
template <class T>
inline bool regular_maximum(const T* src, std::ptrdiff_t len, T* maximum) {
  using V = simd::Vec<T>;
  constexpr std::ptrdiff_t W = V::width;
  const V lowest = V::broadcast(static_cast<T>(kLogZero));
  const V highest = V::broadcast(std::numeric_limits<T>::max());
  V largest = V::broadcast(src[0]);
  if (len < W) {
    bool regular = true;
    T best = src[0];
    for (std::ptrdiff_t i = 0; i < len; ++i) {
      regular = regular && src[i] >= static_cast<T>(kLogZero) && src[i] <= std::numeric_limits<T>::max();
      best = src[i] > best ? src[i] : best;
    }
    *maximum = best;
    return regular;
  }
  V second = largest;
  simd::Mask<T> regular = largest == largest;
  const auto take = [&](V x, V& best) {
    regular = regular & (x >= lowest) & (x <= highest);
    best = max(x, best);
  };
  std::ptrdiff_t i = 0;
  for (; i + 2 * W <= len; i += 2 * W) {
    take(simd::load<T>(src + i), largest);
    take(simd::load<T>(src + i + W), second);
  }
  if (i + W <= len) take(simd::load<T>(src + i), largest);
  take(simd::load<T>(src + len - W), second);
  T lanes[W];
  simd::store(lanes, max(largest, second));
  *maximum = *std::max_element(lanes, lanes + W);
  return simd::all(regular);
}

// terms[i] = e^(src[i] - maximum) for i < len, zeros up to a full vector.
template <class T>
inline void exponentials(T* terms, const T* src, int len, T maximum) {
  using V = simd::Vec<T>;
  constexpr int W = V::width;
  const V largest = V::broadcast(maximum);
  int i = 0;
  for (; i + W <= len; i += W) simd::store(terms + i, simd::exp_nonpositive(simd::load<T>(src + i) - largest));
  if (i < len) {
    T rest[W];
    for (int k = 0; k < W; ++k) rest[k] = i + k < len ? src[i + k] : maximum;
    simd::store(terms + i, simd::exp_nonpositive(simd::load<T>(rest) - largest));
    for (int k = len; k < i + W; ++k) terms[k] = T{0};
  }
}

// One term after the other.
template <class T>
inline T add_in_order(T sum, const T* terms, int len) {
  using V = simd::Vec<T>;
  const V factor = V::broadcast(LogSumSet<T>::cut_off_factor);
  V running = V::broadcast(sum);
  for (int i = 0; i < len; ++i) {
    const V x = V::broadcast(terms[i]);
    const V either = select(running < x * factor, x, running + x);
    running = select(x < running * factor, running, either);
  }
  return running.first();
}

// A block at once, terms padded with zeros to a full vector.
template <class T>
inline T add_block(T sum, const T* terms, int len) {
  using V = simd::Vec<T>;
  constexpr int W = V::width;
  const V zero = V::zero();
  const V dropped = V::broadcast(sum * LogSumSet<T>::cut_off_factor);
  V even = zero;
  V odd = zero;
  for (int i = 0; i < len; i += 2 * W) {
    const V x = simd::load<T>(terms + i);
    even = even + select(x < dropped, zero, x);
    if (i + W < len) {
      const V y = simd::load<T>(terms + i + W);
      odd = odd + select(y < dropped, zero, y);
    }
  }
  const T block = simd::sum_lanes(even + odd);
  const T end = sum + block;

  // What the order decides: terms that the final sum would drop, and the first sum if the block would drop it.
  const V doubtful_below = V::broadcast(end * LogSumSet<T>::cut_off_factor);
  V doubtful_terms = zero;
  for (int i = 0; i < len; i += W) {
    const V x = simd::load<T>(terms + i);
    doubtful_terms = doubtful_terms + select(x < dropped, zero, select(x < doubtful_below, x, zero));
  }
  const bool loses_first = sum < block * LogSumSet<T>::cut_off_factor;
  const T doubtful = simd::sum_lanes(doubtful_terms) + (loses_first ? sum : T{0});
  const T rounding = static_cast<T>(len) * (std::numeric_limits<T>::epsilon() / 2) * end;
  if (doubtful > rounding) return add_in_order(sum, terms, len);
  return loses_first ? block : end;
}

}  // namespace log_sum_detail

template <class T>
inline T log_sum(const T* src, std::ptrdiff_t len) {
  using namespace log_sum_detail;
  if (len == 1) return src[0];
  T maximum;
  if (!regular_maximum(src, len, &maximum)) return running_log_sum(src, len);

  alignas(32) T terms[kBlock];
  const auto block_length = [&](std::ptrdiff_t at) {
    return static_cast<int>(std::min<std::ptrdiff_t>(kBlock, len - at));
  };
  const int first_block = block_length(0);
  exponentials(terms, src, first_block, maximum);
  T sum = add_in_order(terms[0], terms + 1, std::min(first_block, kFirst) - 1);
  if (first_block > kFirst) sum = add_block(sum, terms + kFirst, first_block - kFirst);
  for (std::ptrdiff_t i = first_block; i < len;) {
    const int n = block_length(i);
    exponentials(terms, src + i, n, maximum);
    sum = add_block(sum, terms, n);
    i += n;
  }
  return static_cast<T>(maximum + natural_log(sum));
}

}  // namespace kivsr
