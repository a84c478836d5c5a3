// One-sided Jacobi: plane rotations of the rows of a matrix until they are orthogonal. Four pairs of rows at a time,
// which have no row in common: their rotations are computed in the lanes of a vector.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <limits>

#include "frame/simd/vec.h"

namespace kivsr::svd {

inline constexpr int kPairs = 4;

// Rows of 2 * half elements, a multiple of the vector's width each half: orthogonal becomes the left half, the right
// one takes part in the rotations. The row behind the last one is zero.
struct RotatedRows {
  double* base;
  std::ptrdiff_t height;
  std::ptrdiff_t half;
  double* row(std::ptrdiff_t r) const { return base + r * 2 * half; }
};

class Rotations {
  using V = simd::ShortVec<double>;
  static constexpr std::ptrdiff_t W = V::width;
  using Places = std::array<std::ptrdiff_t, kPairs>;

 public:
  // squares: room for a number a row and one more.
  Rotations(RotatedRows rows, double* squares) : rows_(rows), squares_(squares) {}

  // True when every pair was orthogonal already.
  bool sweep() {
    changed_ = false;
    for (std::ptrdiff_t r = 0; r <= rows_.height; ++r) squares_[r] = product(r, r);
    const std::ptrdiff_t blocks = (rows_.height + kPairs - 1) / kPairs;
    for (std::ptrdiff_t i = 0; i < blocks; ++i) {
      if (i % 2 == 0) pairs_within_two_blocks(i * kPairs);
      for (std::ptrdiff_t j = i + 1; j < blocks; ++j) pairs_of_two_blocks(i * kPairs, j * kPairs);
    }
    return !changed_;
  }

 private:
  // Rows behind the last one are the one of zeros.
  std::ptrdiff_t place(std::ptrdiff_t row) const { return row < rows_.height ? row : rows_.height; }

  // Every row of one block of four meets every row of the other.
  void pairs_of_two_blocks(std::ptrdiff_t i, std::ptrdiff_t j) {
    for (int turn = 0; turn < kPairs; ++turn) {
      Places p;
      Places q;
      for (int k = 0; k < kPairs; ++k) {
        p[k] = place(i + k);
        q[k] = place(j + (k + turn) % kPairs);
      }
      rotate(p, q);
    }
  }
  // The six pairs within a block, of two blocks side by side.
  void pairs_within_two_blocks(std::ptrdiff_t i) {
    constexpr int kTurns[3][kPairs] = {{0, 1, 2, 3}, {0, 2, 1, 3}, {0, 3, 1, 2}};
    for (const auto& turn : kTurns) {
      Places p;
      Places q;
      for (int k = 0; k < kPairs; ++k) {
        const std::ptrdiff_t block = i + k / 2 * kPairs;
        p[k] = place(block + turn[k % 2 * 2]);
        q[k] = place(block + turn[k % 2 * 2 + 1]);
      }
      rotate(p, q);
    }
  }

  void rotate(const Places& p, const Places& q) {
    V sums[kPairs];
#pragma GCC unroll 4
    for (int k = 0; k < kPairs; ++k) sums[k] = products(p[k], q[k]);
    alignas(32) double products_pq[kPairs];
    simd::store_lane_sums(products_pq, sums[0], sums[1], sums[2], sums[3]);
    alignas(32) double squares_p[kPairs];
    alignas(32) double squares_q[kPairs];
    for (int k = 0; k < kPairs; ++k) {
      squares_p[k] = squares_[p[k]];
      squares_q[k] = squares_[q[k]];
    }
    alignas(32) double sines[kPairs];
    alignas(32) double tangents[kPairs];
    PairBits pairs;
    for (int k = 0; k < kPairs; k += W) {
      const PairBits some = angles(squares_p + k, squares_q + k, products_pq + k, sines + k, tangents + k);
      pairs.needed |= some.needed << k;
      pairs.exchanged |= some.exchanged << k;
    }
    if (pairs.needed == 0) return;
    changed_ = true;
    for (int k = 0; k < kPairs; ++k) {
      if ((pairs.needed >> k & 1) == 0) continue;
      double* const first = rows_.row(p[k]);
      double* const second = rows_.row(q[k]);
      const bool exchanged = (pairs.exchanged >> k & 1) != 0;
      turn(exchanged ? second : first, exchanged ? first : second, first, second, V::broadcast(sines[k]),
           V::broadcast(tangents[k]));
      // A difference of which little is left is not accurate enough for the next angle.
      const double least = std::min(squares_[p[k]], squares_[q[k]]);
      squares_[p[k]] = squares_p[k];
      squares_[q[k]] = squares_q[k] > 0.01 * least ? squares_q[k] : product(q[k], q[k]);
    }
  }

  double product(std::ptrdiff_t p, std::ptrdiff_t q) const { return simd::sum_lanes(products(p, q)); }
  V products(std::ptrdiff_t p, std::ptrdiff_t q) const {
    const double* const a = rows_.row(p);
    const double* const b = rows_.row(q);
    V even = V::zero();
    V odd = V::zero();
    std::ptrdiff_t i = 0;
    for (; i + 2 * W <= rows_.half; i += 2 * W) {
      even = simd::mul_add(simd::load_as<V>(a + i), simd::load_as<V>(b + i), even);
      odd = simd::mul_add(simd::load_as<V>(a + i + W), simd::load_as<V>(b + i + W), odd);
    }
    if (i < rows_.half) even = simd::mul_add(simd::load_as<V>(a + i), simd::load_as<V>(b + i), even);
    return even + odd;
  }

  // A bit a pair.
  struct PairBits {
    unsigned needed = 0;     // the cosine of the rows' angle is above rounding
    unsigned exchanged = 0;  // the second row is the longer one
  };

  // The rotations by at most 45 degrees that make rows of square lengths a and b and product d orthogonal, with the
  // longer row as the first: their sines, and the tangents of half their angles. a and b become the square lengths
  // afterwards, the longer one first.
  static PairBits angles(double* squares_p, double* squares_q, const double* products, double* sine,
                         double* half_tangent) {
    const V a = simd::load_as<V>(squares_p);
    const V b = simd::load_as<V>(squares_q);
    const V d = simd::load_as<V>(products);
    const V one = V::broadcast(1.0);
    constexpr double kLeast = 2 * std::numeric_limits<double>::epsilon();
    const unsigned needed = simd::bit_mask((d / a) * (d / b) > V::broadcast(kLeast * kLeast));
    if (needed == 0) return {};
    // tan of twice the angle is d / delta; both are divided by the larger one.
    const V delta = simd::abs(a - b) * V::broadcast(0.5);
    const V size = simd::abs(d);
    const auto small_angle = delta >= size;
    const V ratio = simd::min(delta, size) / simd::max(delta, size);
    const V root = simd::sqrt(simd::mul_add(ratio, ratio, one));
    const V tangent = simd::select(small_angle, ratio, one) / (simd::select(small_angle, one, ratio) + root);
    const V secant = simd::sqrt(simd::mul_add(tangent, tangent, one));
    const V sign = d & V::broadcast(-0.0);
    simd::store(sine, (tangent / secant) ^ sign);
    simd::store(half_tangent, (tangent / (one + secant)) ^ sign);
    simd::store(squares_p, simd::mul_add(tangent, size, simd::max(a, b)));
    simd::store(squares_q, simd::neg_mul_add(tangent, size, simd::min(a, b)));
    return {needed, simd::bit_mask(b > a)};
  }

  // x' = x + s (y - t x) and y' = y - s (x + t y), t the tangent of half the angle: x cos + y sin and y cos - x sin,
  // but what is rounded besides the result is as small as the angle.
  void turn(const double* x, const double* y, double* new_x, double* new_y, V sine, V half_tangent) const {
#pragma GCC unroll 2
    for (std::ptrdiff_t i = 0; i < 2 * rows_.half; i += W) {
      const V a = simd::load_as<V>(x + i);
      const V b = simd::load_as<V>(y + i);
      simd::store(new_x + i, simd::mul_add(sine, simd::neg_mul_add(half_tangent, a, b), a));
      simd::store(new_y + i, simd::neg_mul_add(sine, simd::mul_add(half_tangent, b, a), b));
    }
  }

  RotatedRows rows_;
  double* squares_;
  bool changed_ = false;
};

}  // namespace kivsr::svd
