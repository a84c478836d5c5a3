// Correlation coefficients, and the normalised cross-correlation of a frame with what follows it: D. Talkin, "A robust
// algorithm for pitch tracking (RAPT)", in Speech Coding and Synthesis, 1995.
#include "correlation.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/scratch.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/frontend/correlation.h"
#include "vector/copy.h"
#include "vector/dot_product.h"
#include "vector/fft.h"

namespace kivsr {
namespace {

using V = simd::Vec<float>;
constexpr std::ptrdiff_t W = V::width;

// --- two vectors ----------------------------------------------------------------------------------------------------

double product_sum(const Kiv32f* a, const Kiv32f* b, int len) { return dot_product<double>(a, b, len); }
double product_sum(const Kiv16s* a, const Kiv16s* b, int len) {
  return static_cast<double>(exact_dot_product(a, b, len));
}

template <class S>
KivStatus coefficient(const S* a, const S* b, int len, float* result) {
  return run(first_failure(not_null(a, b, result), positive(len)), [&] {
    const double energies = product_sum(a, a, len) * product_sum(b, b, len);
    // min and max in this order let a NaN through.
    const double r = product_sum(a, b, len) / std::sqrt(energies);
    const bool zero = energies == 0.0;
    *result = zero ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(std::min(std::max(r, -1.0), 1.0));
    return zero ? kivStatusDivByZero : kivStatusOk;
  });
}

template <class S>
KivStatus coefficient_over(const S* a, const S* b, int len, float val, float* result) {
  const bool usable = val < 0.0F || val > 0.0F;
  return run(first_failure(not_null(a, b, result), positive(len), require(usable, kivStatusOutOfRange)),
             [&] { *result = static_cast<float>(product_sum(a, b, len) / static_cast<double>(val)); });
}

// --- many lags ------------------------------------------------------------------------------------------------------

// So many products are summed in registers before they join the total of their lag.
constexpr std::ptrdiff_t kBlock = 128;
// Samples in even and in odd places are summed apart, so that a few lags do not wait for each other.
constexpr int kStreams = 2;
constexpr int kTile = simd::kHeldAccumulators / kStreams;

// r[k] = sum of x[n] y[n + k], k < kVectors W: lanes are lags, so that nothing is added across lanes and the order of a
// sum depends on len alone.
template <int kVectors, class Load>
[[gnu::always_inline]] inline void lag_sums(V (&totals)[kVectors], const float* x, const float* y, std::ptrdiff_t len,
                                            Load load) {
  std::fill(totals, totals + kVectors, V::zero());
  for (std::ptrdiff_t start = 0; start < len; start += kBlock) {
    V sums[kStreams][kVectors];
    for (auto& stream : sums) std::fill(stream, stream + kVectors, V::zero());
    const auto add = [&](V(&stream)[kVectors], std::ptrdiff_t n) {
      const V now = V::broadcast(x[n]);
#pragma GCC unroll 8
      for (int v = 0; v < kVectors; ++v) stream[v] = mul_add(now, load(y + n + v * W), stream[v]);
    };
    const std::ptrdiff_t end = std::min(len, start + kBlock);
    std::ptrdiff_t n = start;
    for (; n + kStreams <= end; n += kStreams) {
      add(sums[0], n);
      add(sums[1], n + 1);
    }
    if (n < end) add(sums[0], n);
#pragma GCC unroll 8
    for (int v = 0; v < kVectors; ++v) totals[v] = totals[v] + (sums[0][v] + sums[1][v]);
  }
}

template <int kVectors>
void lag_sums(float* r, const float* x, const float* y, std::ptrdiff_t len) {
  V totals[kVectors];
  lag_sums(totals, x, y, len, [](const float* p) { return simd::load<float>(p); });
#pragma GCC unroll 8
  for (int v = 0; v < kVectors; ++v) simd::store(r + v * W, totals[v]);
}

// `vectors` of them, at most kTile.
void few_lag_sums(float* r, const float* x, const float* y, std::ptrdiff_t len, std::ptrdiff_t vectors) {
  switch (vectors) {
    case 1: return lag_sums<1>(r, x, y, len);
    case 2: return lag_sums<2>(r, x, y, len);
    case 3: return lag_sums<std::min(3, kTile)>(r, x, y, len);
    default: return lag_sums<kTile>(r, x, y, len);
  }
}

void direct_sums(float* r, const float* x, const float* y, std::ptrdiff_t len, std::ptrdiff_t lags) {
  if (lags < W) {
    const int few = static_cast<int>(lags);
    V total[1];
    lag_sums(total, x, y, len, [=](const float* p) { return simd::load_some<float>(p, few); });
    return simd::store_some(r, total[0], few);
  }
  std::ptrdiff_t k = 0;
  for (; k + kTile * W <= lags; k += kTile * W) lag_sums<kTile>(r + k, x, y + k, len);
  if (k == lags) return;
  // The vectors that are left reach back over lags that are done, or the last of them alone does.
  const std::ptrdiff_t vectors = (lags - k + W - 1) / W;
  const std::ptrdiff_t start = lags - vectors * W;
  if (start >= 0) return few_lag_sums(r + start, x, y + start, len, vectors);
  few_lag_sums(r, x, y, len, vectors - 1);
  lag_sums<1>(r + lags - W, x, y + lags - W, len);
}

// From this many products on the sums go through the FFT.
constexpr std::int64_t kFftProducts = std::int64_t{1} << 20;

// The inverse transform of the product of spectra. y has len + lags - 1 samples, which is as long as the circle must
// be for its ends not to meet.
KivStatus fft_sums(float* r, const float* x, const float* y, std::ptrdiff_t len, std::ptrdiff_t lags) {
  const std::ptrdiff_t reach = len + lags - 1;
  int order = 1;
  while ((std::int64_t{1} << order) < reach) ++order;
  if (order > fft::kMaximumOrder) return kivStatusNoMemory;
  fft::Workspace room(order, 2, kivFftScaleInverse);
  if (!room) return kivStatusNoMemory;
  const std::ptrdiff_t circle = std::ptrdiff_t{1} << order;
  const auto spectrum = [&](float* buffer, const float* samples, std::ptrdiff_t count) {
    copy(buffer, samples, count);
    zero(buffer + count, circle - count);
    fft::forward(buffer, buffer, room.transform(), room.work(), fft::Spectrum::kPack);
    return buffer;
  };
  float* const product = spectrum(room.frame(0), x, len);
  fft::multiply_pack_conjugate(spectrum(room.frame(1), y, reach), product, circle);
  fft::inverse(product, product, room.transform(), room.work());
  copy(r, product, lags);
  return kivStatusOk;
}

double square(float x) { return static_cast<double>(x) * static_cast<double>(x); }

// visit(i, sum of the squares of y[0] .. y[i * step]) for i < count, four additions deep a turn of four: what waits
// for the turn before is one addition.
template <int step, class Visit>
void running_squares(const float* y, std::ptrdiff_t count, double sum, Visit visit) {
  std::ptrdiff_t i = 0;
  for (; i + 4 <= count; i += 4) {
    const double one = square(y[i * step]);
    const double two = one + square(y[(i + 1) * step]);
    const double three = two + square(y[(i + 2) * step]);
    const double four = three + square(y[(i + 3) * step]);
    visit(i, sum + one);
    visit(i + 1, sum + two);
    visit(i + 2, sum + three);
    visit(i + 3, sum += four);
  }
  for (; i < count; ++i) visit(i, sum += square(y[i * step]));
}

// energies[k] = sum of the squares of y[k] .. y[k + len - 1]. Nothing is ever subtracted: a window is what is left of
// one stretch of len samples, summed backwards, and what it has reached of the next, summed forwards.
void window_energies(double* energies, const float* y, std::ptrdiff_t len, std::ptrdiff_t windows) {
  for (std::ptrdiff_t start = 0; start < windows; start += len) {
    const std::ptrdiff_t count = std::min(len, windows - start);
    double* const sums = energies + start;
    const float* const next = y + start + count;
    const double rest = dot_product<double>(next, next, len - count);
    running_squares<-1>(next - 1, count, rest, [=](std::ptrdiff_t i, double sum) { sums[count - 1 - i] = sum; });
    running_squares<1>(y + start + len, count - 1, 0.0, [=](std::ptrdiff_t i, double sum) { sums[i + 1] += sum; });
  }
}

KivStatus products(float* r, const float* x, const float* y, std::ptrdiff_t len, std::ptrdiff_t lags) {
  if (std::int64_t{len} * lags >= kFftProducts) return fft_sums(r, x, y, len, lags);
  direct_sums(r, x, y, len, lags);
  return kivStatusOk;
}

// Products are divided by the roots of energies, in double precision. True if an energy is zero.
bool normalise(float* r, const double* energies, double first, std::ptrdiff_t lags) {
  using D = simd::Vec<double>;
  const D energy_of_frame = D::broadcast(first);
  const D most = D::broadcast(1.0);
  const D least = D::broadcast(-1.0);
  auto zero = D::zero() > D::zero();
  transform<double>(
      lags,
      [&](D product, D energy) {
        const D both = energy_of_frame * energy;
        const auto nothing = both == D::zero();
        zero = zero | nothing;
        // The constant in front lets a NaN through.
        const D coefficient = min(most, max(least, product / simd::sqrt(both)));
        return simd::select(nothing, D::zero(), coefficient);
      },
      r, r, energies);
  return simd::any(zero);
}

}  // namespace

KivStatus lag_coefficients(float* r, const float* x, std::ptrdiff_t len, std::ptrdiff_t min_lag, std::ptrdiff_t lags,
                           bool& zero_energy) {
  assert(len >= 1 && min_lag >= 0 && lags >= 1);
  const float* const y = x + min_lag;
  Scratch<double, 1024> energies(static_cast<std::size_t>(lags));
  if (!energies) return kivStatusNoMemory;
  if (const KivStatus status = products(r, x, y, len, lags); status != kivStatusOk) return status;
  window_energies(energies.data(), y, len, lags);
  zero_energy = normalise(r, energies.data(), dot_product<double>(x, x, len), lags);
  return kivStatusOk;
}

KivStatus lag_coefficients(float* r, const Kiv16s* x, std::ptrdiff_t len, std::ptrdiff_t min_lag, std::ptrdiff_t lags,
                           bool& zero_energy) {
  const std::ptrdiff_t samples = len + min_lag + lags - 1;
  Scratch<float> converted(static_cast<std::size_t>(samples));
  if (!converted) return kivStatusNoMemory;
  transform<float>(
      samples, [](V v) { return v; }, converted.data(), x);
  return lag_coefficients(r, converted.data(), len, min_lag, lags, zero_energy);
}

namespace {

template <class S>
KivStatus lag_coefficients_of(const S* src, int len, int min_lag, int max_lag, float* dst) {
  const bool range = min_lag >= 0 && max_lag >= min_lag;
  return run(first_failure(not_null(src, dst), positive(len), require(range, kivStatusOutOfRange)), [&] {
    bool zero_energy = false;
    const std::ptrdiff_t lags = std::ptrdiff_t{max_lag} - min_lag + 1;
    const KivStatus status = lag_coefficients(dst, src, len, min_lag, lags, zero_energy);
    return status == kivStatusOk && zero_energy ? kivStatusDivByZero : status;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsCrossCorrCoeff_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f* pResult) {
  return coefficient(pSrc1, pSrc2, len, pResult);
}
KivStatus kivsCrossCorrCoeff_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f* pResult) {
  return coefficient(pSrc1, pSrc2, len, pResult);
}
KivStatus kivsCrossCorrCoeffPartial_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f val,
                                        Kiv32f* pResult) {
  return coefficient_over(pSrc1, pSrc2, len, val, pResult);
}
KivStatus kivsCrossCorrCoeffPartial_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f val,
                                           Kiv32f* pResult) {
  return coefficient_over(pSrc1, pSrc2, len, val, pResult);
}

KivStatus kivsCrossCorrCoeffLag_32f(const Kiv32f* pSrc, int len, int minLag, int maxLag, Kiv32f* pDst) {
  return lag_coefficients_of(pSrc, len, minLag, maxLag, pDst);
}
KivStatus kivsCrossCorrCoeffLag_16s32f(const Kiv16s* pSrc, int len, int minLag, int maxLag, Kiv32f* pDst) {
  return lag_coefficients_of(pSrc, len, minLag, maxLag, pDst);
}
}
