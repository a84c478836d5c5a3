// One-sided Jacobi: plane rotations of the rows of a matrix until they are orthogonal. Four pairs of rows at a time,
// which have no row in common: their rotations are computed in the lanes of a vector.
#pragma once

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
  double* row(std::ptrdiff_t r) const { return base + (r < height ? r : height) * 2 * half; }
};

class Rotations {
  using V = simd::Vec<double>;
  static constexpr std::ptrdiff_t W = V::width;

 public:
  explicit Rotations(RotatedRows rows) : rows_(rows) {}

  // True when every pair was orthogonal already.
  bool sweep() {
    changed_ = false;
    const std::ptrdiff_t blocks = (rows_.height + kPairs - 1) / kPairs;
    for (std::ptrdiff_t i = 0; i < blocks; ++i) {
      if (i % 2 == 0) pairs_within_two_blocks(i * kPairs);
      for (std::ptrdiff_t j = i + 1; j < blocks; ++j) pairs_of_two_blocks(i * kPairs, j * kPairs);
    }
    return !changed_;
  }

 private:
  // Every row of one block of four meets every row of the other.
  void pairs_of_two_blocks(std::ptrdiff_t i, std::ptrdiff_t j) {
    for (int turn = 0; turn < kPairs; ++turn) {
      double* p[kPairs];
      double* q[kPairs];
      for (int k = 0; k < kPairs; ++k) {
        p[k] = rows_.row(i + k);
        q[k] = rows_.row(j + (k + turn) % kPairs);
      }
      rotate(p, q);
    }
  }
  // The six pairs within a block, of two blocks side by side.
  void pairs_within_two_blocks(std::ptrdiff_t i) {
    constexpr int kTurns[3][kPairs] = {{0, 1, 2, 3}, {0, 2, 1, 3}, {0, 3, 1, 2}};
    for (const auto& turn : kTurns) {
      double* p[kPairs];
      double* q[kPairs];
      for (int k = 0; k < kPairs; ++k) {
        const std::ptrdiff_t block = i + k / 2 * kPairs;
        p[k] = rows_.row(block + turn[k % 2 * 2]);
        q[k] = rows_.row(block + turn[k % 2 * 2 + 1]);
      }
      rotate(p, q);
    }
  }

  void rotate(double* const (&p)[kPairs], double* const (&q)[kPairs]) {
    V pp[kPairs];
    V qq[kPairs];
    V pq[kPairs];
#pragma GCC unroll 4
    for (int k = 0; k < kPairs; ++k) add_products(p[k], q[k], &pp[k], &qq[k], &pq[k]);
    alignas(32) double squares_p[kPairs];
    alignas(32) double squares_q[kPairs];
    alignas(32) double products[kPairs];
    simd::store_lane_sums(squares_p, pp[0], pp[1], pp[2], pp[3]);
    simd::store_lane_sums(squares_q, qq[0], qq[1], qq[2], qq[3]);
    simd::store_lane_sums(products, pq[0], pq[1], pq[2], pq[3]);

    alignas(32) double cosines[kPairs];
    alignas(32) double sines[kPairs];
    unsigned needed = 0;
    for (int k = 0; k < kPairs; k += W) {
      needed |= angles(simd::load<double>(squares_p + k), simd::load<double>(squares_q + k),
                       simd::load<double>(products + k), cosines + k, sines + k)
                << k;
    }
    if (needed == 0) return;
    changed_ = true;
    for (int k = 0; k < kPairs; ++k) {
      if ((needed >> k & 1) != 0) turn(p[k], q[k], V::broadcast(cosines[k]), V::broadcast(sines[k]));
    }
  }

  void add_products(const double* p, const double* q, V* pp, V* qq, V* pq) const {
    V squares_p = V::zero();
    V squares_q = V::zero();
    V products = V::zero();
#pragma GCC unroll 2
    for (std::ptrdiff_t i = 0; i < rows_.half; i += W) {
      const V a = simd::load<double>(p + i);
      const V b = simd::load<double>(q + i);
      squares_p = simd::mul_add(a, a, squares_p);
      squares_q = simd::mul_add(b, b, squares_q);
      products = simd::mul_add(a, b, products);
    }
    *pp = squares_p;
    *qq = squares_q;
    *pq = products;
  }

  // The rotation that makes rows of square lengths a and b and product d orthogonal and the first of them the longer
  // one: p becomes cosine p + sine q, q becomes cosine q - sine p. A bit is set where it is needed: the cosine of the
  // rows' angle is above rounding.
  static unsigned angles(V a, V b, V d, double* cosine, double* sine) {
    const V one = V::broadcast(1.0);
    constexpr double kLeast = 2 * std::numeric_limits<double>::epsilon();
    const auto needed = (d / a) * (d / b) > V::broadcast(kLeast * kLeast);
    const unsigned bits = simd::bit_mask(needed);
    if (bits == 0) return 0;
    // tan of twice the angle is d / delta; both are divided by the larger one.
    const V delta = simd::abs(a - b) * V::broadcast(0.5);
    const V product = simd::abs(d);
    const auto small_angle = delta >= product;
    const V ratio = simd::min(delta, product) / simd::max(delta, product);
    const V root = simd::sqrt(simd::mul_add(ratio, ratio, one));
    const V tangent = simd::select(small_angle, ratio, one) / (simd::select(small_angle, one, ratio) + root);
    const V c = one / simd::sqrt(simd::mul_add(tangent, tangent, one));
    const V s = tangent * c;
    const auto in_order = a >= b;
    const V sign = d & V::broadcast(-0.0);
    // With the roles of the rows changed, p becomes s p + c q and q becomes s q - c p: the sine takes the sign of d.
    simd::store(cosine, simd::select(in_order, c, s));
    simd::store(sine, simd::select(in_order, s, c) ^ sign);
    return bits;
  }

  void turn(double* p, double* q, V cosine, V sine) const {
#pragma GCC unroll 2
    for (std::ptrdiff_t i = 0; i < 2 * rows_.half; i += W) {
      const V a = simd::load<double>(p + i);
      const V b = simd::load<double>(q + i);
      simd::store(p + i, simd::mul_add(sine, b, cosine * a));
      simd::store(q + i, simd::neg_mul_add(sine, a, cosine * b));
    }
  }

  RotatedRows rows_;
  bool changed_ = false;
};

}  // namespace kivsr::svd
