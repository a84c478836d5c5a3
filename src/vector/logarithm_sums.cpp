// Sums of logarithms.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "frame/constants.h"
#include "frame/elementary.h"
#include "frame/simd/vec.h"
#include "frame/status.h"
#include "kivsr/vector/logarithm.h"
#include "logarithm.h"

namespace kivsr {
namespace {

using simd::Vec;

// The logarithm of a product, kept as mantissa * 2^exponent with a relative correction of the mantissa: one logarithm
// in place of one for each factor. Factors are positive and normal.
class LongProduct {
 public:
  void multiply(double factor, std::int64_t exponent) {
    const auto bits = std::bit_cast<std::uint64_t>(mantissa_ * factor);
    exponent_ += exponent + static_cast<std::int64_t>(bits >> 52) - 1023;
    mantissa_ = std::bit_cast<double>((bits & 0x000FFFFFFFFFFFFF) | std::bit_cast<std::uint64_t>(1.0));
  }
  // Keeps the rounding error of the product; factor (1 + correction) is what is multiplied.
  void multiply_exactly(double factor, std::int64_t exponent, double correction) {
    const double product = mantissa_ * factor;
    correction_ += std::fma(mantissa_, factor, -product) / product + correction;
    multiply(factor, exponent);
  }
  double logarithm() const {
    // Around 1, so that a product near 1 keeps its digits.
    constexpr double kLn2 = 0.693147180559945309417;
    const bool high = mantissa_ > 1.4142135623730951;
    return (natural_log(high ? mantissa_ / 2 : mantissa_) + correction_) +
           static_cast<double>(exponent_ + (high ? 1 : 0)) * kLn2;
  }

 private:
  double mantissa_ = 1.0;
  double correction_ = 0.0;
  std::int64_t exponent_ = 0;
};

constexpr std::ptrdiff_t kChunk = 512;
constexpr int W64 = Vec<double>::width;

// Lanes of mantissas multiplied together, their exponents added. The mantissas of a chunk stay below 2^512.
struct LaneProduct {
  Vec<double> mantissas = Vec<double>::broadcast(1.0);
  Vec<double> errors = Vec<double>::zero();  // of the mantissas: exact product = mantissas + errors
  Vec<std::int64_t> exponents = Vec<std::int64_t>::zero();
  std::int64_t factors = 0;

  void add_exponents(Vec<double> x) {
    exponents = exponents + exponent_field(x);
    factors += W64;
  }
  void multiply(Vec<double> x) {
    add_exponents(x);
    mantissas = mantissas * mantissa(x);
  }
  void multiply_exactly(Vec<double> x) {
    add_exponents(x);
    const Vec<double> factor = mantissa(x);
    const Vec<double> product = mantissas * factor;
    errors = errors * factor + product_error(mantissas, factor, product);
    mantissas = product;
  }
  std::int64_t exponent() const { return sum_lanes(exponents) - 1023 * factors; }
  void multiply_into(LongProduct* total) const {
    double lanes[W64];
    simd::store(lanes, mantissas);
    double product = lanes[0];
    for (int k = 1; k < W64; ++k) product *= lanes[k];
    total->multiply(product, exponent());
  }
  void multiply_exactly_into(LongProduct* total) const {
    double lanes[W64];
    double corrections[W64];
    simd::store(lanes, mantissas);
    simd::store(corrections, errors / mantissas);
    total->multiply_exactly(lanes[0], exponent(), corrections[0]);
    for (int k = 1; k < W64; ++k) total->multiply_exactly(lanes[k], 0, corrections[k]);
  }
};

// Multiplies n <= kChunk elements into the total if all are positive and finite (64f: and not subnormal); false, and
// the total unchanged, otherwise. The product of four floats is a normal double, whatever the floats.
bool multiply_chunk(const float* src, std::ptrdiff_t n, LongProduct* total) {
  using I = Vec<Kiv32s>;
  constexpr std::ptrdiff_t kGroup = 4 * W64;
  constexpr std::ptrdiff_t kHalf = kGroup / 2;
  static_assert(kHalf == Vec<float>::width);
  // Bits 1 .. 0x7F7FFFFF, moved to the lowest integers.
  const I offset = I::broadcast(std::numeric_limits<Kiv32s>::max());
  const I limit = I::broadcast(std::numeric_limits<Kiv32s>::min() + 0x7F7FFFFF);
  auto regular = I::zero() == I::zero();
  LaneProduct product;
  const auto multiply = [&](const float* x) {
    regular = regular & (bits(simd::load<float>(x)) + offset < limit);
    regular = regular & (bits(simd::load<float>(x + kHalf)) + offset < limit);
    product.multiply((simd::load<double>(x) * simd::load<double>(x + W64)) *
                     (simd::load<double>(x + 2 * W64) * simd::load<double>(x + 3 * W64)));
  };
  std::ptrdiff_t i = 0;
  for (; i + kGroup <= n; i += kGroup) multiply(src + i);
  if (i < n) {
    float tail[kGroup];
    std::fill(std::copy_n(src + i, n - i, tail), tail + kGroup, 1.0F);
    multiply(tail);
  }
  if (!all(regular)) return false;
  product.multiply_into(total);
  return true;
}

bool multiply_chunk(const double* src, std::ptrdiff_t n, LongProduct* total) {
  const auto smallest = Vec<double>::broadcast(std::numeric_limits<double>::min());
  const auto largest = Vec<double>::broadcast(std::numeric_limits<double>::max());
  auto regular = smallest < largest;
  LaneProduct product;
  const auto multiply = [&](Vec<double> x) {
    regular = regular & (x >= smallest) & (x <= largest);
    product.multiply_exactly(x);
  };
  std::ptrdiff_t i = 0;
  for (; i + W64 <= n; i += W64) multiply(simd::load<double>(src + i));
  if (i < n) {
    double tail[W64];
    std::fill(std::copy_n(src + i, n - i, tail), tail + W64, 1.0);
    multiply(simd::load<double>(tail));
  }
  if (!all(regular)) return false;
  product.multiply_exactly_into(total);
  return true;
}

// A chunk with elements of other kinds: a zero is reported before a negative or NaN.
template <class T>
KivStatus multiply_any(const T* src, std::ptrdiff_t n, LongProduct* total, bool* infinite) {
  if (std::any_of(src, src + n, [](T x) { return x == T{0}; })) return kivStatusInfResult;
  if (!std::all_of(src, src + n, [](T x) { return x > T{0}; })) return kivStatusNanResult;
  for (std::ptrdiff_t i = 0; i < n; ++i) {
    if (src[i] > std::numeric_limits<T>::max()) {
      *infinite = true;
    } else {
      int exponent;
      const double fraction = std::frexp(static_cast<double>(src[i]), &exponent);
      total->multiply_exactly(fraction, exponent, 0.0);
    }
  }
  return kivStatusOk;
}

template <class T>
KivStatus sum_by_chunks(const T* src, std::ptrdiff_t len, double* total) {
  LongProduct product;
  bool infinite = false;
  for (std::ptrdiff_t i = 0; i < len; i += kChunk) {
    const std::ptrdiff_t n = std::min(kChunk, len - i);
    if (multiply_chunk(src + i, n, &product)) [[likely]] {
      continue;
    }
    if (const KivStatus status = multiply_any(src + i, n, &product, &infinite); status != kivStatusOk) {
      *total = status == kivStatusInfResult ? Special<double>::infinity() : Special<double>::nan();
      return status;
    }
  }
  *total = infinite ? Special<double>::infinity() : product.logarithm();
  return kivStatusOk;
}

template <class T>
KivStatus sum_of_logarithms_checked(const T* src, int len, T* result) {
  return run(first_failure(not_null(src, result), positive(len)), [&] {
    double total;
    const KivStatus status = sum_of_logarithms(src, len, &total);
    *result = static_cast<T>(total);
    return status;
  });
}

}  // namespace

KivStatus sum_of_logarithms(const float* src, std::ptrdiff_t len, double* total) {
  return sum_by_chunks(src, len, total);
}
KivStatus sum_of_logarithms(const double* src, std::ptrdiff_t len, double* total) {
  return sum_by_chunks(src, len, total);
}

}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsSumLn_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum) {
  return sum_of_logarithms_checked(pSrc, len, pSum);
}
KivStatus kivsSumLn_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum) {
  return sum_of_logarithms_checked(pSrc, len, pSum);
}
}
