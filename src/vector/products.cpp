// Products of a matrix with a vector on either side.
#include "kivsr/vector/products.h"

#include <cassert>

#include "copy.h"
#include "dot_product.h"
#include "frame/matrix_checks.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "statistics_column_sums.h"

namespace kivsr {
namespace {

using simd::Vec;

// An exact sum of up to 2^31 products of 32-bit words, 62 bits each.
struct WideSum {
  std::int64_t high = 0;
  std::uint64_t low = 0;
  void add(Kiv32s a, Kiv32s b) {
    const std::int64_t product = std::int64_t{a} * b;
    high += product >> 32;
    low += static_cast<std::uint32_t>(product);
  }
  double value() const {
    return static_cast<double>(high + static_cast<std::int64_t>(low >> 32)) * 4294967296.0 +
           static_cast<double>(static_cast<std::uint32_t>(low));
  }
};

// --- matrix times vector ----------------------------------------------------------

// Rows r .. r + kRows - 1. A row is summed alike whatever kRows: even and odd vectors apart, then the lanes.
template <int kRows, class Rows>
void dot_rows(Rows rows, std::ptrdiff_t r, const float* vector, std::ptrdiff_t width, float* dst) {
  using V = Vec<float>;
  constexpr std::ptrdiff_t W = V::width;
  assert(r >= 0 && width > 0);
  const float* row[kRows];
  V even[kRows];
  V odd[kRows];
#pragma GCC unroll 4
  for (int k = 0; k < kRows; ++k) {
    row[k] = rows.row(r + k);
    even[k] = odd[k] = V::zero();
  }
  std::ptrdiff_t c = 0;
  for (; c + 2 * W <= width; c += 2 * W) {
    const V v0 = simd::load<float>(vector + c);
#pragma GCC unroll 4
    for (int k = 0; k < kRows; ++k) even[k] = mul_add(simd::load<float>(row[k] + c), v0, even[k]);
    const V v1 = simd::load<float>(vector + c + W);
#pragma GCC unroll 4
    for (int k = 0; k < kRows; ++k) odd[k] = mul_add(simd::load<float>(row[k] + c + W), v1, odd[k]);
  }
  if (c + W <= width) {
    const V v = simd::load<float>(vector + c);
#pragma GCC unroll 4
    for (int k = 0; k < kRows; ++k) even[k] = mul_add(simd::load<float>(row[k] + c), v, even[k]);
    c += W;
  }
  if (c < width) {
    const int rest = static_cast<int>(width - c);
    const V v = simd::load_some<float>(vector + c, rest);
#pragma GCC unroll 4
    for (int k = 0; k < kRows; ++k) odd[k] = mul_add(simd::load_some<float>(row[k] + c, rest), v, odd[k]);
  }
  if constexpr (kRows == 4) {
    simd::store_lane_sums(dst + r, even[0] + odd[0], even[1] + odd[1], even[2] + odd[2], even[3] + odd[3]);
  } else {
    for (int k = 0; k < kRows; ++k) dst[r + k] = simd::sum_lanes(even[k] + odd[k]);
  }
}

template <class Rows>
void matrix_times_vector(Rows matrix, const float* vector, std::ptrdiff_t width, float* dst, std::ptrdiff_t height) {
  std::ptrdiff_t r = 0;
  for (; r + 4 <= height; r += 4) dot_rows<4>(matrix, r, vector, width, dst);
  for (; r < height; ++r) dot_rows<1>(matrix, r, vector, width, dst);
}

// Sums of two products lie in -2^31 + 2^16 .. 2^31, the last one wrapped: plus 2^31 - 1 they are in order as unsigned
// numbers. The last words of a row are read as a full vector that overlaps the one before it; the vector's words that
// meet it there are zero where they have been counted.
template <class Rows, class D>
void matrix_times_vector(Rows matrix, const Kiv16s* vector, std::ptrdiff_t width, D* dst, std::ptrdiff_t height,
                         int scale_factor) {
  using V = Vec<Kiv32s>;
  constexpr std::ptrdiff_t W = 2 * V::width;
  if (width < W) {
    for (std::ptrdiff_t r = 0; r < height; ++r) {
      dst[r] = scaled<D>(exact_dot_product(matrix.row(r), vector, width), scale_factor);
    }
    return;
  }
  const std::ptrdiff_t whole = width / W * W;
  const std::ptrdiff_t last = width - W;
  Kiv16s last_words[W] = {};
  std::copy(vector + whole, vector + width, last_words + (whole - last));
  const auto bias = V::broadcast(std::numeric_limits<Kiv32s>::max());
  const std::int64_t biases = (whole + W) / 2 * std::int64_t{std::numeric_limits<Kiv32s>::max()};
  for (std::ptrdiff_t r = 0; r < height; ++r) {
    const Kiv16s* const row = matrix.row(r);
    auto sum = add_unsigned(Vec<std::int64_t>::zero(), simd::products_of_pairs(row + last, last_words) + bias);
    for (std::ptrdiff_t c = 0; c < whole; c += W) {
      sum = add_unsigned(sum, simd::products_of_pairs(row + c, vector + c) + bias);
    }
    dst[r] = scaled<D>(sum_lanes(sum) - biases, scale_factor);
  }
}

template <class Rows>
void matrix_times_vector(Rows matrix, const Kiv32s* vector, std::ptrdiff_t width, Kiv32s* dst, std::ptrdiff_t height,
                         int scale_factor) {
  const NearestRounding nearest;
  const double scale = double_scale(scale_factor);
  for (std::ptrdiff_t r = 0; r < height; ++r) {
    const Kiv32s* const row = matrix.row(r);
    WideSum sum;
    for (std::ptrdiff_t c = 0; c < width; ++c) sum.add(row[c], vector[c]);
    dst[r] = round_saturated<Kiv32s>(sum.value() * scale);
  }
}

// --- vector times matrix ----------------------------------------------------------

constexpr int kRowsAtATime = 8;

// Rows r .. r + kRows - 1 times their factors, added to dst one row after the other. Whole rows are read faster than
// panels of columns, and the destination stays in the cache.
template <int kRows, class Rows>
void add_rows(const float* vector, Rows rows, std::ptrdiff_t r, float* dst, std::ptrdiff_t width) {
  using V = Vec<float>;
  constexpr std::ptrdiff_t W = V::width;
  const float* row[kRows];
  V factor[kRows];
#pragma GCC unroll 8
  for (int k = 0; k < kRows; ++k) {
    row[k] = rows.row(r + k);
    factor[k] = V::broadcast(vector[r + k]);
  }
  std::ptrdiff_t c = 0;
  for (; c + W <= width; c += W) {
    V sum = simd::load<float>(dst + c);
#pragma GCC unroll 8
    for (int k = 0; k < kRows; ++k) sum = mul_add(simd::load<float>(row[k] + c), factor[k], sum);
    store(dst + c, sum);
  }
  if (c < width) {
    const int rest = static_cast<int>(width - c);
    V sum = simd::load_some<float>(dst + c, rest);
#pragma GCC unroll 8
    for (int k = 0; k < kRows; ++k) sum = mul_add(simd::load_some<float>(row[k] + c, rest), factor[k], sum);
    store_some(dst + c, sum, rest);
  }
}

template <class Rows>
void vector_times_matrix(const float* vector, Rows matrix, std::ptrdiff_t height, float* dst, std::ptrdiff_t width) {
  // The sums of a tall and narrow matrix stay in registers.
  using Narrow = Products<float, float, 2>;
  if (width <= ColumnPanel<Narrow>::kMaxVectors * ColumnPanel<Narrow>::W && height > 2 * width) {
    return sum_columns(Narrow{vector}, matrix, height, width, FromZero{},
                       [&](auto first, auto count, const auto* even, const auto* odd) {
                         transform<float>(
                             count, [](auto a, auto b) { return a + b; }, dst + first, even, odd);
                       });
  }
  zero(dst, width);
  std::ptrdiff_t r = 0;
  for (; r + kRowsAtATime <= height; r += kRowsAtATime) add_rows<kRowsAtATime>(vector, matrix, r, dst, width);
  for (; r < height; ++r) add_rows<1>(vector, matrix, r, dst, width);
}

template <class Rows, class D>
void vector_times_matrix(const Kiv16s* vector, Rows matrix, std::ptrdiff_t height, D* dst, std::ptrdiff_t width,
                         int scale_factor) {
  sum_columns_exactly(Products<double, Kiv16s, 1>{vector}, matrix, height, width,
                      [&](auto first, auto count, const std::int64_t* sum) {
                        for (std::ptrdiff_t c = 0; c < count; ++c) dst[first + c] = scaled<D>(sum[c], scale_factor);
                      });
}

template <class Rows>
void vector_times_matrix(const Kiv32s* vector, Rows matrix, std::ptrdiff_t height, Kiv32s* dst, std::ptrdiff_t width,
                         int scale_factor) {
  constexpr std::ptrdiff_t kColumns = 256;
  const NearestRounding nearest;
  const double scale = double_scale(scale_factor);
  for (std::ptrdiff_t first = 0; first < width; first += kColumns) {
    const std::ptrdiff_t count = std::min(kColumns, width - first);
    WideSum sums[kColumns];
    for (std::ptrdiff_t r = 0; r < height; ++r) {
      const Kiv32s* const row = matrix.row(r) + first;
      for (std::ptrdiff_t c = 0; c < count; ++c) sums[c].add(row[c], vector[r]);
    }
    for (std::ptrdiff_t c = 0; c < count; ++c) dst[first + c] = round_saturated<Kiv32s>(sums[c].value() * scale);
  }
}

// --- checks ---------------------------------------------------------------------

template <class Rows, class T, class D, class... Scale>
KivStatus matrix_vector(Rows matrix, const T* vector, int width, D* dst, int height, Scale... scale) {
  return run(matrix_checks(matrix, height, width, vector, dst),
             [&] { matrix_times_vector(matrix, vector, width, dst, height, scale...); });
}

template <class Rows, class T, class D, class... Scale>
KivStatus vector_matrix(const T* vector, Rows matrix, int height, D* dst, int width, Scale... scale) {
  return run(matrix_checks(matrix, height, width, vector, dst),
             [&] { vector_times_matrix(vector, matrix, height, dst, width, scale...); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMatVecMul_32f_D2(const Kiv32f* pSrcMatrix, int step, const Kiv32f* pSrcVec, int width, Kiv32f* pDst,
                               int height) {
  return matrix_vector(StepRows{pSrcMatrix, step}, pSrcVec, width, pDst, height);
}
KivStatus kivsMatVecMul_32f_D2L(const Kiv32f* const* ppSrcMatrix, const Kiv32f* pSrcVec, int width, Kiv32f* pDst,
                                int height) {
  return matrix_vector(PointerRows{ppSrcMatrix}, pSrcVec, width, pDst, height);
}
KivStatus kivsMatVecMul_16s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width, Kiv16s* pDst,
                                  int height, int scaleFactor) {
  return matrix_vector(StepRows{pSrcMatrix, step}, pSrcVec, width, pDst, height, scaleFactor);
}
KivStatus kivsMatVecMul_16s_D2LSfs(const Kiv16s* const* ppSrcMatrix, const Kiv16s* pSrcVec, int width, Kiv16s* pDst,
                                   int height, int scaleFactor) {
  return matrix_vector(PointerRows{ppSrcMatrix}, pSrcVec, width, pDst, height, scaleFactor);
}
KivStatus kivsMatVecMul_16s32s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width, Kiv32s* pDst,
                                     int height, int scaleFactor) {
  return matrix_vector(StepRows{pSrcMatrix, step}, pSrcVec, width, pDst, height, scaleFactor);
}
KivStatus kivsMatVecMul_16s32s_D2LSfs(const Kiv16s* const* ppSrcMatrix, const Kiv16s* pSrcVec, int width, Kiv32s* pDst,
                                      int height, int scaleFactor) {
  return matrix_vector(PointerRows{ppSrcMatrix}, pSrcVec, width, pDst, height, scaleFactor);
}
KivStatus kivsMatVecMul_32s_D2Sfs(const Kiv32s* pSrcMatrix, int step, const Kiv32s* pSrcVec, int width, Kiv32s* pDst,
                                  int height, int scaleFactor) {
  return matrix_vector(StepRows{pSrcMatrix, step}, pSrcVec, width, pDst, height, scaleFactor);
}
KivStatus kivsMatVecMul_32s_D2LSfs(const Kiv32s* const* ppSrcMatrix, const Kiv32s* pSrcVec, int width, Kiv32s* pDst,
                                   int height, int scaleFactor) {
  return matrix_vector(PointerRows{ppSrcMatrix}, pSrcVec, width, pDst, height, scaleFactor);
}

KivStatus kivsVecMatMul_32f_D2(const Kiv32f* pSrcVec, const Kiv32f* pSrcMatrix, int step, int height, Kiv32f* pDst,
                               int width) {
  return vector_matrix(pSrcVec, StepRows{pSrcMatrix, step}, height, pDst, width);
}
KivStatus kivsVecMatMul_32f_D2L(const Kiv32f* pSrcVec, const Kiv32f* const* ppSrcMatrix, int height, Kiv32f* pDst,
                                int width) {
  return vector_matrix(pSrcVec, PointerRows{ppSrcMatrix}, height, pDst, width);
}
KivStatus kivsVecMatMul_16s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height, Kiv16s* pDst,
                                  int width, int scaleFactor) {
  return vector_matrix(pSrcVec, StepRows{pSrcMatrix, step}, height, pDst, width, scaleFactor);
}
KivStatus kivsVecMatMul_16s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s* const* ppSrcMatrix, int height, Kiv16s* pDst,
                                   int width, int scaleFactor) {
  return vector_matrix(pSrcVec, PointerRows{ppSrcMatrix}, height, pDst, width, scaleFactor);
}
KivStatus kivsVecMatMul_16s32s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height,
                                     Kiv32s* pDst, int width, int scaleFactor) {
  return vector_matrix(pSrcVec, StepRows{pSrcMatrix, step}, height, pDst, width, scaleFactor);
}
KivStatus kivsVecMatMul_16s32s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s* const* ppSrcMatrix, int height, Kiv32s* pDst,
                                      int width, int scaleFactor) {
  return vector_matrix(pSrcVec, PointerRows{ppSrcMatrix}, height, pDst, width, scaleFactor);
}
KivStatus kivsVecMatMul_32s_D2Sfs(const Kiv32s* pSrcVec, const Kiv32s* pSrcMatrix, int step, int height, Kiv32s* pDst,
                                  int width, int scaleFactor) {
  return vector_matrix(pSrcVec, StepRows{pSrcMatrix, step}, height, pDst, width, scaleFactor);
}
KivStatus kivsVecMatMul_32s_D2LSfs(const Kiv32s* pSrcVec, const Kiv32s* const* ppSrcMatrix, int height, Kiv32s* pDst,
                                   int width, int scaleFactor) {
  return vector_matrix(pSrcVec, PointerRows{ppSrcMatrix}, height, pDst, width, scaleFactor);
}
}
