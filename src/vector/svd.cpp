// Singular value decomposition: QR with column pivoting, QR of its transposed factor, one-sided Jacobi.
//
// Z. Drmac, K. Veselic: New fast and accurate Jacobi SVD algorithm I, II, SIAM J. Matrix Anal. Appl. 29(4), 2008. With
// A P = Q R and R^T = Q2 R2 the rows of R2 are nearly orthogonal and ordered, so that few sweeps of rotations J remain:
// J^T R2 = S X^T, and A = (Q X) S (P Q2 J)^T. Each step keeps small columns as accurate as large ones (J. Demmel,
// K. Veselic: Jacobi's method is more accurate than QR, SIAM J. Matrix Anal. Appl. 13(4), 1992). Of a matrix with more
// rows than columns the factor of a first QR is taken.
#include "kivsr/vector/svd.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

#include "frame/matrix_checks.h"
#include "frame/rows.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "svd_reflections.h"
#include "svd_rotations.h"

namespace kivsr {
namespace {

using svd::Reflection;
using svd::V;
using svd::W;

constexpr int kStackWidth = 40;
constexpr std::ptrdiff_t kProductRows = 4;
constexpr int kReflections = 1 + static_cast<int>(svd::kMostBlocks);  // of the square matrix and of each block of rows

// The largest element is brought to about 2^470, so that squares of columns neither overflow nor, down to 2^-970 of it,
// underflow.
constexpr int kScaledExponent = 470;

// Elements of a row in whole vectors, of the rotations too, which take four elements at least.
template <class Integer>
constexpr Integer whole_vectors(Integer width) {
  constexpr Integer kMultiple = W < 4 ? 4 : W;
  return (width + kMultiple - 1) / kMultiple * kMultiple;
}

// Rows of the Jacobi step and one of zeros, the step and the sums of a pass, rows of a product, lengths of columns.
constexpr std::uint64_t room_for(std::uint64_t width) {
  const std::uint64_t half = whole_vectors(width);
  return (width + 1) * 2 * half + 4 * half + (kProductRows + 2) * half + 4;
}

// NaN if an element is not finite.
template <class Rows>
double largest_magnitude(Rows rows, int height, int width) {
  V largest = V::zero();
  V undefined = V::zero();  // x - x of infinities and NaN
  const auto look_at = [&](V x) {
    largest = simd::max(simd::abs(x), largest);
    undefined = undefined + (x - x);
  };
  for (std::ptrdiff_t r = 0; r < height; ++r) {
    const double* const row = rows.row(r);
    std::ptrdiff_t i = 0;
    for (; i + W <= width; i += W) look_at(simd::load<double>(row + i));
    if (i < width) look_at(simd::load_some<double>(row + i, static_cast<int>(width - i)));
  }
  if (simd::sum_lanes(undefined) != 0) return std::numeric_limits<double>::quiet_NaN();
  return simd::max_lanes(largest);
}

// x 2^exponent in two steps of normal factors.
struct Scaling {
  explicit Scaling(int exponent)
      : first(power_of_two_64(exponent / 2)), second(power_of_two_64(exponent - exponent / 2)) {}
  double operator()(double x) const { return x * first * second; }
  double first;
  double second;
};

double sum_of_products(const double* a, const double* b, std::ptrdiff_t from, std::ptrdiff_t to) {
  V sums = V::zero();
  for (std::ptrdiff_t i = from; i < to; i += W) {
    sums = simd::mul_add(simd::load<double>(a + i), simd::load<double>(b + i), sums);
  }
  return simd::sum_lanes(sums);
}

void subtract_multiple(double* a, double factor, const double* b, std::ptrdiff_t from, std::ptrdiff_t to) {
  const V f = V::broadcast(factor);
  for (std::ptrdiff_t i = from; i < to; i += W) {
    simd::store(a + i, simd::neg_mul_add(f, simd::load<double>(b + i), simd::load<double>(a + i)));
  }
}

// The square part of the work: a matrix of width x width whose columns are the rows of the left half.
class Square {
 public:
  Square(double* room, std::ptrdiff_t width, Reflection* reflections, std::int32_t* columns)
      : width_(width),
        half_(whole_vectors(width)),
        rows_{room, width, half_},
        pass_{room + (width + 1) * 2 * half_, room + (width + 2) * 2 * half_},
        product_(room + (width + 3) * 2 * half_),
        vector_(product_ + kProductRows * half_),
        lengths_(vector_ + half_),
        reflections_(reflections),
        columns_(columns) {
    std::fill_n(room, (width + 1) * 2 * half_, 0.0);
    std::fill_n(vector_, half_, 0.0);
    std::iota(columns_, columns_ + width, 0);
  }

  double* column(std::ptrdiff_t k) { return rows_.row(k); }
  double* right(std::ptrdiff_t k) { return rows_.row(k) + half_; }
  svd::PassRoom pass_room() const { return pass_; }

  // A P = Q R. The vectors of the reflections, from row k + 1 on in row k, go to `vectors`; the columns become those of
  // R, of which column k was column columns_[k] of A.
  template <class Vectors>
  void reflect_pivoted(Vectors vectors) {
    for (std::ptrdiff_t j = 0; j < width_; ++j) lengths_[j] = sum_of_products(column(j), column(j), 0, half_);
    for (std::ptrdiff_t k = 0; k < width_; ++k) {
      const std::ptrdiff_t pivot = std::max_element(lengths_ + k, lengths_ + width_) - lengths_;
      if (pivot != k) {
        std::swap_ranges(column(k), column(k) + half_, column(pivot));
        std::swap(columns_[k], columns_[pivot]);
        std::swap(lengths_[k], lengths_[pivot]);
      }
      double* const x = column(k);
      double beta;
      const Reflection h = reflections_[k] = svd::reflection_of(x[k], lengths_[k], &beta);
      double* const kept = vectors.row(k);
      std::copy(x + k + 1, x + width_, kept + k + 1);
      load_vector(k, kept);
      std::fill(x + k + 1, x + width_, 0.0);
      x[k] = beta;
      for (std::ptrdiff_t j = k + 1; j < width_; ++j) lengths_[j] = reflect_and_measure(column(j), k, h.scale);
    }
  }

  // R^T = Q2 R2 of the columns of R: the left rows become those of R2, the right ones those of Q2^T.
  void reflect_transposed(Reflection* reflections) {
    for (std::ptrdiff_t k = 0; k < width_; ++k) right(k)[k] = 1;
    const StepRows<double> rows{rows_.base, 2 * half_};
    svd::reflect_columns(rows, svd::Block{0, width_}, 2 * half_, width_, reflections, pass_);
    for (std::ptrdiff_t k = 0; k < width_; ++k) std::fill_n(column(k), k, 0.0);
  }

  bool rotate(int iterations) {
    svd::Rotations rotations(rows_, lengths_);
    for (int i = 0; i < iterations; ++i) {
      if (rotations.sweep()) return true;
    }
    return false;
  }

  // Both halves become unit vectors: sines and cosines are rounded, and with them all lengths by the same factor, which
  // leaves the ratio of the lengths as the singular value. Left rows of length zero complete the basis.
  void normalise(double* values) {
    for (std::ptrdiff_t k = 0; k < width_; ++k) {
      const double length = divide_by_length(column(k));
      const double growth = divide_by_length(right(k));
      values[k] = length / growth;
    }
    for (std::ptrdiff_t k = 0; k < width_; ++k) {
      if (values[k] == 0) complete(k);
    }
  }

  // The left rows, columns of X, become those of Q X.
  template <class Vectors>
  void apply_reflections(Vectors vectors) {
    for (std::ptrdiff_t k = width_ - 1; k >= 0; --k) {
      const double scale = reflections_[k].scale;
      if (scale == 0) continue;
      load_vector(k, vectors.row(k));
      const std::ptrdiff_t from = svd::vector_start(k);
      for (std::ptrdiff_t j = 0; j < width_; ++j) {
        subtract_multiple(column(j), scale * sum_of_products(vector_, column(j), from, half_), vector_, from, half_);
      }
    }
  }

  // The element of largest magnitude of every column of V, the first one of several, is positive.
  void settle_signs() {
    std::int32_t* const place = columns_ + width_;  // where row r of V stands
    for (std::int32_t k = 0; k < width_; ++k) place[columns_[k]] = k;
    for (std::ptrdiff_t k = 0; k < width_; ++k) {
      double* const x = right(k);
      double largest = 0;
      for (std::ptrdiff_t r = 0; r < width_; ++r) {
        if (std::abs(x[place[r]]) > std::abs(largest)) largest = x[place[r]];
      }
      if (largest < 0) {
        for (std::ptrdiff_t i = 0; i < width_; ++i) x[i] = -x[i];
        for (std::ptrdiff_t i = 0; i < width_; ++i) column(k)[i] = -column(k)[i];
      }
    }
  }

  template <class Rows>
  void write_v(Rows v, const std::int32_t* order) {
    for (std::ptrdiff_t i = 0; i < width_; ++i) {
      double* const row = v.row(columns_[i]);
      for (std::ptrdiff_t k = 0; k < width_; ++k) row[k] = right(order[k])[i];
    }
  }
  template <class Rows>
  void write_u(Rows u, const std::int32_t* order) {
    for (std::ptrdiff_t i = 0; i < width_; ++i) {
      double* const row = u.row(i);
      for (std::ptrdiff_t k = 0; k < width_; ++k) row[k] = column(order[k])[i];
    }
  }

  // Rows of u times the matrix whose columns are the left rows, in order. Uses the right half.
  template <class Rows>
  void multiply_u(Rows u, std::ptrdiff_t height, const std::int32_t* order) {
    for (std::ptrdiff_t j = 0; j < width_; ++j) {
      for (std::ptrdiff_t k = 0; k < width_; ++k) right(j)[k] = column(order[k])[j];
    }
    std::ptrdiff_t r = 0;
    for (; r + kProductRows <= height; r += kProductRows) multiply_rows<kProductRows>(u.from(r));
    for (; r < height; ++r) multiply_rows<1>(u.from(r));
  }

 private:
  // The vector of reflection k in whole vectors, zeros before row k.
  void load_vector(std::ptrdiff_t k, const double* kept) {
    std::fill(vector_ + svd::vector_start(k), vector_ + k, 0.0);
    vector_[k] = reflections_[k].head;
    std::copy(kept + k + 1, kept + width_, vector_ + k + 1);
  }

  // The square length of what lies behind row k afterwards.
  double reflect_and_measure(double* x, std::ptrdiff_t k, double scale) {
    const std::ptrdiff_t from = svd::vector_start(k);
    subtract_multiple(x, scale * sum_of_products(vector_, x, from, half_), vector_, from, half_);
    double square = 0;
    const std::ptrdiff_t whole = std::min(from + W, half_);
    for (std::ptrdiff_t i = k + 1; i < whole; ++i) square += x[i] * x[i];
    return square + sum_of_products(x, x, whole, half_);
  }

  // The length; vectors that are too short for one become zero.
  double divide_by_length(double* x) {
    const double square = sum_of_products(x, x, 0, half_);
    const double length = square > svd::kNegligibleSquare ? std::sqrt(square) : 0;
    for (std::ptrdiff_t i = 0; i < width_; ++i) x[i] = length > 0 ? x[i] / length : 0;
    return length;
  }

  // Row k becomes a unit vector orthogonal to the others: what is left of the axis that they cover least.
  void complete(std::ptrdiff_t k) {
    std::fill_n(lengths_, half_, 0.0);
    for (std::ptrdiff_t j = 0; j < width_; ++j) {
      for (std::ptrdiff_t i = 0; i < width_; ++i) lengths_[i] += column(j)[i] * column(j)[i];
    }
    double* const x = column(k);
    x[std::min_element(lengths_, lengths_ + width_) - lengths_] = 1;
    for (int time = 0; time < 2; ++time) {
      for (std::ptrdiff_t j = 0; j < width_; ++j) {
        if (j != k) subtract_multiple(x, sum_of_products(x, column(j), 0, half_), column(j), 0, half_);
      }
    }
    const double length = std::sqrt(sum_of_products(x, x, 0, half_));
    for (std::ptrdiff_t i = 0; i < width_; ++i) x[i] /= length;
  }

  template <std::ptrdiff_t kRows, class Rows>
  void multiply_rows(Rows u) {
    const double* from[kRows];
    for (std::ptrdiff_t r = 0; r < kRows; ++r) from[r] = u.row(r);
    for (std::ptrdiff_t k = 0; k < half_; k += W) {
      V sums[kRows] = {};
      const double* factors = right(0) + k;
      for (std::ptrdiff_t j = 0; j < width_; ++j, factors += 2 * half_) {
        const V f = simd::load<double>(factors);
#pragma GCC unroll 4
        for (std::ptrdiff_t r = 0; r < kRows; ++r) sums[r] = simd::mul_add(V::broadcast(from[r][j]), f, sums[r]);
      }
#pragma GCC unroll 4
      for (std::ptrdiff_t r = 0; r < kRows; ++r) simd::store(product_ + r * half_ + k, sums[r]);
    }
    for (std::ptrdiff_t r = 0; r < kRows; ++r) std::copy_n(product_ + r * half_, width_, u.row(r));
  }

  std::ptrdiff_t width_;
  std::ptrdiff_t half_;
  svd::RotatedRows rows_;
  svd::PassRoom pass_;
  double* product_;
  double* vector_;
  double* lengths_;
  Reflection* reflections_;
  std::int32_t* columns_;
};

enum class Order { kAsFound, kSorted };

void put_in_order(Order order, const double* values, std::int32_t* places, std::ptrdiff_t width) {
  std::iota(places, places + width, 0);
  if (order == Order::kAsFound) return;
  // Nearly sorted already; insertion keeps equal values in their order.
  for (std::ptrdiff_t i = 1; i < width; ++i) {
    const std::int32_t moved = places[i];
    std::ptrdiff_t j = i;
    for (; j > 0 && values[places[j - 1]] < values[moved]; --j) places[j] = places[j - 1];
    places[j] = moved;
  }
}

// The square matrix to decompose, scaled: A itself, or R of A = Q R, with Q left in u.
template <class Source, class Left>
void take_square(Source src, Left u, int width, int height, Scaling scale, Square& square, Reflection* reflections) {
  if (height == width) {
    for (std::ptrdiff_t i = 0; i < width; ++i) {
      for (std::ptrdiff_t j = 0; j < width; ++j) square.column(j)[i] = scale(src.row(i)[j]);
    }
    return;
  }
  for (std::ptrdiff_t r = 0; r < height; ++r) std::transform(src.row(r), src.row(r) + width, u.row(r), scale);
  svd::factor_tall(u, height, width, reflections, square.pass_room());
  for (std::ptrdiff_t i = 0; i < width; ++i) {
    for (std::ptrdiff_t j = i; j < width; ++j) square.column(j)[i] = u.row(i)[j];
  }
  svd::form_q(u, height, width, reflections, square.pass_room());
}

template <class Source, class Left, class Right>
KivStatus decompose_finite(Source src, Left u, double* s, Right v, int width, int height, int iterations, Order order,
                           int shift) {
  const std::uint64_t count = std::min<std::uint64_t>(room_for(static_cast<std::uint64_t>(width)), SIZE_MAX);
  Scratch<double, static_cast<int>(room_for(kStackWidth))> room(static_cast<std::size_t>(count));
  Scratch<Reflection, kReflections * kStackWidth> reflections(kReflections * static_cast<std::size_t>(width));
  Scratch<std::int32_t, 3 * kStackWidth> places(3 * static_cast<std::size_t>(width));
  if (!room || !reflections || !places) return kivStatusNoMemory;

  Square square(room.data(), width, reflections.data(), places.data());
  Reflection* const others = reflections.data() + width;
  take_square(src, u, width, height, Scaling(shift), square, others);
  square.reflect_pivoted(v);
  square.reflect_transposed(others);
  const bool converged = square.rotate(iterations);
  double* const values = square.pass_room().sums;  // in the order of the rows
  square.normalise(values);
  square.apply_reflections(v);
  square.settle_signs();

  std::int32_t* const in_order = places.data() + 2 * static_cast<std::ptrdiff_t>(width);
  put_in_order(order, values, in_order, width);
  const Scaling back(-shift);
  for (std::ptrdiff_t k = 0; k < width; ++k) s[k] = back(values[in_order[k]]);
  square.write_v(v, in_order);
  if (height > width) {
    square.multiply_u(u, height, in_order);
  } else {
    square.write_u(u, in_order);
  }
  return converged ? kivStatusOk : kivStatusNoConvergence;
}

template <class Source, class Left, class Right>
KivStatus decompose(Source src, Left u, double* s, Right v, int width, int height, int iterations, Order order) {
  const KivStatus checks =
      first_failure(not_null(array_of(src), array_of(u), s, array_of(v)), positive(width, height, iterations),
                    require(height >= width, kivStatusBadSize), step_covers(src, width), step_covers(u, width),
                    step_covers(v, width));
  if (checks != kivStatusOk) return checks;
  const double largest = largest_magnitude(src, height, width);
  if (std::isnan(largest)) return kivStatusOutOfRange;
  const int shift = largest > 0 ? kScaledExponent - std::ilogb(largest) : 0;
  return decompose_finite(src, u, s, v, width, height, iterations, order, shift);
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsSVD_64f_D2(const Kiv64f* pSrc, int srcStep, Kiv64f* pDstU, int dstStepU, Kiv64f* pDstS, Kiv64f* pDstV,
                         int dstStepV, int width, int height, int nIter) {
  return decompose(StepRows{pSrc, srcStep}, StepRows{pDstU, dstStepU}, pDstS, StepRows{pDstV, dstStepV}, width, height,
                   nIter, Order::kAsFound);
}
KivStatus kivsSVD_64f_D2L(const Kiv64f* const* ppSrc, Kiv64f** ppDstU, Kiv64f* pDstS, Kiv64f** ppDstV, int width,
                          int height, int nIter) {
  return decompose(PointerRows{ppSrc}, PointerRows{ppDstU}, pDstS, PointerRows{ppDstV}, width, height, nIter,
                   Order::kAsFound);
}
KivStatus kivsSVD_64f_D2_I(Kiv64f* pSrcDst, int step, Kiv64f* pDstS, Kiv64f* pDstV, int dstStepV, int width, int height,
                           int nIter) {
  const StepRows rows{pSrcDst, step};
  return decompose(rows, rows, pDstS, StepRows{pDstV, dstStepV}, width, height, nIter, Order::kAsFound);
}
KivStatus kivsSVD_64f_D2L_I(Kiv64f** ppSrcDst, Kiv64f* pDstS, Kiv64f** ppDstV, int width, int height, int nIter) {
  const PointerRows rows{ppSrcDst};
  return decompose(rows, rows, pDstS, PointerRows{ppDstV}, width, height, nIter, Order::kAsFound);
}
KivStatus kivsSVDSort_64f_D2(const Kiv64f* pSrc, int srcStep, Kiv64f* pDstU, int dstStepU, Kiv64f* pDstS, Kiv64f* pDstV,
                             int dstStepV, int width, int height, int nIter) {
  return decompose(StepRows{pSrc, srcStep}, StepRows{pDstU, dstStepU}, pDstS, StepRows{pDstV, dstStepV}, width, height,
                   nIter, Order::kSorted);
}
KivStatus kivsSVDSort_64f_D2L(const Kiv64f* const* ppSrc, Kiv64f** ppDstU, Kiv64f* pDstS, Kiv64f** ppDstV, int width,
                              int height, int nIter) {
  return decompose(PointerRows{ppSrc}, PointerRows{ppDstU}, pDstS, PointerRows{ppDstV}, width, height, nIter,
                   Order::kSorted);
}
KivStatus kivsSVDSort_64f_D2_I(Kiv64f* pSrcDst, int step, Kiv64f* pDstS, Kiv64f* pDstV, int dstStepV, int width,
                               int height, int nIter) {
  const StepRows rows{pSrcDst, step};
  return decompose(rows, rows, pDstS, StepRows{pDstV, dstStepV}, width, height, nIter, Order::kSorted);
}
KivStatus kivsSVDSort_64f_D2L_I(Kiv64f** ppSrcDst, Kiv64f* pDstS, Kiv64f** ppDstV, int width, int height, int nIter) {
  const PointerRows rows{ppSrcDst};
  return decompose(rows, rows, pDstS, PointerRows{ppDstV}, width, height, nIter, Order::kSorted);
}

KivStatus kivsQRTransColumn_64f_D2L(Kiv64f** ppSrcDst, int column1, int column2, int height, Kiv64f c, Kiv64f s) {
  const KivStatus checks =
      first_failure(not_null(ppSrcDst), positive(height),
                    require(column1 >= 0 && column2 >= 0 && column1 != column2, kivStatusBadArgument));
  return run(checks, [&] {
    for (int r = 0; r < height; ++r) {
      double* const row = ppSrcDst[r];
      const double a = row[column1];
      const double b = row[column2];
      row[column1] = c * a + s * b;
      row[column2] = c * b - s * a;
    }
  });
}
}
