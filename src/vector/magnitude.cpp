// Magnitudes of complex vectors.
#include "magnitude.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cmath>
#include <limits>

#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "kivsr/vector/magnitude.h"

namespace kivsr {
namespace {

using simd::Vec;

// store_magnitudes(to, first, second) for every vector of results; first and second hold its numbers, parts in turn.
// The last vector overlaps the one before it; a short array is padded with zeros.
template <class T, class D, class Complex, class Store>
void for_each_vector(D* dst, const Complex* src, std::ptrdiff_t len, Store store_magnitudes) {
  assert(len >= 1);
  constexpr std::ptrdiff_t W = Vec<T>::width;
  const auto compute = [&](D* to, const Complex* from) {
    store_magnitudes(to, simd::load<T>(&from->re), simd::load<T>(&from[W / 2].re));
  };
  if (len < W) {
    Complex numbers[W] = {};
    D results[W];
    std::copy_n(src, len, numbers);
    compute(results, numbers);
    std::copy_n(results, len, dst);
    return;
  }
  std::ptrdiff_t i = 0;
  for (; i + W <= len; i += W) compute(dst + i, src + i);
  if (i < len) compute(dst + len - W, src + len - W);
}

// The root of n, rounded down.
std::uint64_t integer_root(std::uint64_t n) {
  auto root = static_cast<std::uint64_t>(std::sqrt(static_cast<double>(n)));
  while (root * root > n) --root;
  while ((root + 1) * (root + 1) <= n) ++root;
  return root;
}

// sqrt(re^2 + im^2) 2^-scaleFactor rounded, decided on integers, of a number in doubt: that is no integer, and less
// than the largest one.
Kiv32s exact_magnitude(Kiv32sc z, int scale_factor) {
  const auto square = [](std::int64_t x) { return static_cast<std::uint64_t>(x * x); };
  std::uint64_t n = square(z.re) + square(z.im);  // at most 2^63
  if (scale_factor < 0) {
    assert(scale_factor > -31 && n < std::uint64_t{1} << (62 + 2 * scale_factor));
    n <<= -2 * scale_factor;
    scale_factor = 0;
  }
  const std::uint64_t root = integer_root(n);
  // (root + 1/2)^2 = root^2 + root + 1/4: no ties.
  if (scale_factor == 0) return static_cast<Kiv32s>(root + (n - root * root > root ? 1 : 0));
  assert(scale_factor <= 32);
  const std::uint64_t result = root >> scale_factor;
  const std::uint64_t half_way = (2 * result + 1) << (scale_factor - 1);
  const std::uint64_t half_square = half_way * half_way;
  const bool up = n > half_square || (n == half_square && (result & 1) != 0);
  return static_cast<Kiv32s>(result + (up ? 1 : 0));
}

}  // namespace

void magnitude(float* dst, const Kiv32fc* src, std::ptrdiff_t len) {
  using V = Vec<float>;
  // Above it what a square loses by underflow is no part of the sum's last place.
  const V smallest = V::broadcast(power_of_two(-90));
  const V largest = V::broadcast(std::numeric_limits<float>::max());
  for_each_vector<float>(dst, src, len, [=](float* to, V first, V second) {
    const V squares = sum_pairs(first * first, second * second);
    const V root = simd::sqrt(squares);
    const auto regular = (squares >= smallest) & (squares <= largest);
    if (simd::all(regular)) [[likely]] {
      simd::store(to, root);
      return;
    }
    // Tiny, huge, zero and special numbers: in double precision.
    const auto roots = [](V x) {
      const Vec<double> low = widen_low(x);
      const Vec<double> high = widen_high(x);
      return simd::sqrt(sum_pairs(low * low, high * high));
    };
    simd::store(to, simd::select(regular, root, narrow(roots(first), roots(second))));
  });
}

void magnitude(Kiv32s* dst, const Kiv32sc* src, std::ptrdiff_t len, int scale_factor) {
  using V = Vec<double>;
  const NearestRounding nearest;
  const V factor = V::broadcast(double_scale(scale_factor));
  const V to_integers = V::broadcast(6755399441055744.0);  // 1.5 2^52
  // A result in range is off by less than 2^-20 before rounding: only those near the middle of two integers are in
  // doubt.
  const V doubt = V::broadcast(0.5 - 0x1p-20);
  for_each_vector<double>(dst, src, len, [=](Kiv32s* to, V first, V second) {
    const V root = simd::sqrt(sum_pairs(first * first, second * second));
    const V result = at_most(root * factor, 2147483647.0);
    store_rounded(to, result);
    const V distance = simd::abs(result - ((result + to_integers) - to_integers));
    const unsigned doubtful = simd::bit_mask(distance > doubt);
    if (doubtful == 0) [[likely]] {
      return;
    }
    double parts[2 * V::width];
    simd::store(parts, first);
    simd::store(parts + V::width, second);
    for (int k = 0; k < V::width; ++k) {
      const Kiv32sc z = {static_cast<Kiv32s>(parts[2 * k]), static_cast<Kiv32s>(parts[2 * k + 1])};
      if (((doubtful >> k) & 1) != 0) to[k] = exact_magnitude(z, scale_factor);
    }
  });
}

}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMagnitude_32fc(const Kiv32fc* pSrc, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] { magnitude(pDst, pSrc, len); });
}
KivStatus kivsMagnitude_32sc_Sfs(const Kiv32sc* pSrc, Kiv32s* pDst, int len, int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] { magnitude(pDst, pSrc, len, scaleFactor); });
}
}
