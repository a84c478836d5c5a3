// Accumulation of a covariance matrix about a given mean.
//
// An element of the upper triangle is a sum in double precision and in row order, each term rounded as written:
// (x[r][i] - m[j]) * (x[r][j] - m[j]), both factors about the mean of the later column. So columns j lie in lanes, and
// tiles of a few columns i by a strip of columns j take the rows one by one. The tiles of up to kPanel x kPanel columns
// share a block of rows, converted to double, while it is in the first-level cache.
#include "kivsr/vector/covariance.h"

#include <algorithm>
#include <cassert>

#include "frame/matrix_checks.h"
#include "frame/transform.h"

namespace kivsr {
namespace {

using V = simd::Vec<double>;

constexpr std::ptrdiff_t kPanel = 40;
constexpr std::ptrdiff_t kBlockRows = 16;
constexpr int kTile = 4;  // columns i of a tile
// Vectors of columns j of a tile: as many as leave registers for the rest.
#if defined(__i386__)
constexpr int kStrip = 1;
#else
constexpr int kStrip = V::width < 8 ? 2 : 1;
#endif
constexpr std::ptrdiff_t kStripColumns = kStrip * V::width;
static_assert(kPanel % kTile == 0 && kPanel % kStripColumns == 0);

struct Columns {
  std::ptrdiff_t first;
  std::ptrdiff_t count;
};

// Elements i x j of the matrix, i and j counted from the first column of their panel. Columns behind a panel's last are
// zeros up to the end of its last tile.
struct PanelPair {
  alignas(32) double sums[kPanel][kPanel] = {};
  alignas(32) double values[kBlockRows][kPanel] = {};      // x[r][i]
  alignas(32) double deviations[kBlockRows][kPanel] = {};  // x[r][j] - m[j]
  alignas(32) double mean[kPanel] = {};                    // m[j]

  template <int kVectors>
  void add_tile(std::ptrdiff_t i, std::ptrdiff_t j, std::ptrdiff_t rows) {
    assert(i + kTile <= kPanel && j + kVectors * V::width <= kPanel && rows <= kBlockRows);
    V held[kTile][kVectors];
    V m[kVectors];
#pragma GCC unroll 2
    for (int v = 0; v < kVectors; ++v) {
      m[v] = simd::load<double>(mean + j + v * V::width);
#pragma GCC unroll 4
      for (int k = 0; k < kTile; ++k) held[k][v] = simd::load<double>(&sums[i + k][j + v * V::width]);
    }
    for (std::ptrdiff_t r = 0; r < rows; ++r) {
      V deviation[kVectors];
#pragma GCC unroll 2
      for (int v = 0; v < kVectors; ++v) deviation[v] = simd::load<double>(&deviations[r][j + v * V::width]);
#pragma GCC unroll 4
      for (int k = 0; k < kTile; ++k) {
        const V x = V::broadcast(values[r][i + k]);
#pragma GCC unroll 2
        for (int v = 0; v < kVectors; ++v) held[k][v] = held[k][v] + (x - m[v]) * deviation[v];
      }
    }
#pragma GCC unroll 2
    for (int v = 0; v < kVectors; ++v) {
#pragma GCC unroll 4
      for (int k = 0; k < kTile; ++k) simd::store(&sums[i + k][j + v * V::width], held[k][v]);
    }
  }

  // On the diagonal tiles that lie below it are left out.
  void add_tiles(Columns is, Columns js, std::ptrdiff_t rows) {
    const bool diagonal = is.first == js.first;
    for (std::ptrdiff_t j = 0; j < js.count; j += kStripColumns) {
      const std::ptrdiff_t end = diagonal ? std::min(is.count, j + kStripColumns) : is.count;
      for (std::ptrdiff_t i = 0; i < end; i += kTile) {
        if (kStrip > 1 && diagonal && i >= j + V::width) {
          add_tile<1>(i, j + V::width, rows);
        } else {
          add_tile<kStrip>(i, j, rows);
        }
      }
    }
  }
};

template <class Source, class T, class Destination>
void accumulate_panels(Source src, std::ptrdiff_t height, const T* mean, Destination dst, double factor, Columns is,
                       Columns js) {
  constexpr auto as_double = [](auto x) { return x; };
  PanelPair panels;
  transform<double>(js.count, as_double, panels.mean, mean + js.first);
  for (std::ptrdiff_t r = 0; r < height; r += kBlockRows) {
    const std::ptrdiff_t rows = std::min(kBlockRows, height - r);
    for (std::ptrdiff_t k = 0; k < rows; ++k) {
      const T* const row = src.row(r + k);
      transform<double>(is.count, as_double, panels.values[k], row + is.first);
      transform<double>(
          js.count, [](auto x, auto m) { return x - m; }, panels.deviations[k], row + js.first, panels.mean);
    }
    panels.add_tiles(is, js, rows);
  }
  for (std::ptrdiff_t i = 0; i < is.count; ++i) {
    double* const row = dst.row(is.first + i);
    for (std::ptrdiff_t j = is.first == js.first ? i : 0; j < js.count; ++j) {
      const double sum = panels.sums[i][j] * factor + row[js.first + j];
      row[js.first + j] = sum;
      dst.row(js.first + j)[is.first + i] = sum;
    }
  }
}

template <class Source, class T, class Destination>
KivStatus accumulate(Source src, int height, const T* mean, Destination dst, int width, double factor) {
  const KivStatus checks = first_failure(not_null(array_of(src), mean, array_of(dst)), positive(height, width),
                                         step_covers(src, width), step_covers(dst, width));
  return run(checks, [&] {
    const auto panel_at = [&](std::ptrdiff_t first) { return Columns{first, std::min(kPanel, width - first)}; };
    for (std::ptrdiff_t i = 0; i < width; i += kPanel) {
      for (std::ptrdiff_t j = i; j < width; j += kPanel) {
        accumulate_panels(src, height, mean, dst, factor, panel_at(i), panel_at(j));
      }
    }
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsAccCovarianceMatrix_32f64f_D2(const Kiv32f* pSrc, int srcStep, int height, const Kiv32f* pMean,
                                            Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor) {
  return accumulate(StepRows{pSrc, srcStep}, height, pMean, StepRows{pSrcDst, dstStep}, width, factor);
}
KivStatus kivsAccCovarianceMatrix_32f64f_D2L(const Kiv32f* const* ppSrc, int height, const Kiv32f* pMean,
                                             Kiv64f** ppSrcDst, int width, Kiv64f factor) {
  return accumulate(PointerRows{ppSrc}, height, pMean, PointerRows{ppSrcDst}, width, factor);
}
KivStatus kivsAccCovarianceMatrix_16s64f_D2(const Kiv16s* pSrc, int srcStep, int height, const Kiv16s* pMean,
                                            Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor) {
  return accumulate(StepRows{pSrc, srcStep}, height, pMean, StepRows{pSrcDst, dstStep}, width, factor);
}
KivStatus kivsAccCovarianceMatrix_16s64f_D2L(const Kiv16s* const* ppSrc, int height, const Kiv16s* pMean,
                                             Kiv64f** ppSrcDst, int width, Kiv64f factor) {
  return accumulate(PointerRows{ppSrc}, height, pMean, PointerRows{ppSrcDst}, width, factor);
}
}
