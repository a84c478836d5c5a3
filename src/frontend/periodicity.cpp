// Periodicity of a frame: the highest peak of the normalised cross-correlation, and the least-squares estimate of
// D. H. Friedman, "Pseudo-maximum-likelihood speech pitch extraction", 1977, in the normalised form of R. Tucker,
// "Voice activity detection using a periodicity measure", 1992.
#include "kivsr/frontend/periodicity.h"

#include <algorithm>
#include <cstdint>

#include "correlation.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "vector/dot_product.h"

namespace kivsr {
namespace {

// --- cross-correlation ----------------------------------------------------------------------------------------------

// A multiple of the period must be better by so much: a period of 20.4 samples has its sampled peak nearer at 102.
constexpr float kBetterPeak = 0.01F;

struct Peak {
  float height;
  float lag;
};

// Top of the parabola through r[-1], r[0], r[1]; lag is relative to r[0].
Peak top_of(const float* r) {
  const float slope = r[-1] - r[1];
  const float shift = slope / (2.0F * (r[-1] - 2.0F * r[0] + r[1]));
  return {std::min(r[0] - 0.25F * slope * shift, 1.0F), shift};
}

// The highest inner peak of r[0] .. r[lags - 1]; {0, 0} if none is positive.
Peak highest_peak(const float* r, std::ptrdiff_t lags, int first_lag) {
  Peak best = {0.0F, 0.0F};
  float reached = 0.0F;
  for (std::ptrdiff_t k = 1; k + 1 < lags; ++k) {
    if (!(r[k] > 0.0F && r[k] > r[k - 1] && r[k] >= r[k + 1])) continue;
    const Peak top = top_of(r + k);
    if (!(top.height > reached)) continue;
    best = {top.height, static_cast<float>(first_lag + k) + top.lag};
    reached = top.height + kBetterPeak;
  }
  return best;
}

constexpr KivStatus period_range(int shortest, int longest) {
  return require(shortest >= 1 && longest >= shortest, kivStatusOutOfRange);
}

template <class S>
KivStatus correlation_peak(const S* src, int len, int shortest, int longest, float* periodicity, float* period) {
  const KivStatus checks = first_failure(not_null(src, periodicity, period), positive(len),
                                         period_range(shortest, longest), require(len > longest, kivStatusBadSize));
  return run(checks, [&]() -> KivStatus {
    const std::ptrdiff_t lags = std::ptrdiff_t{longest} - shortest + 1;
    Scratch<float, 1024> r(static_cast<std::size_t>(lags));
    if (!r) return kivStatusNoMemory;
    bool zero_energy;  // a coefficient of 0 says as much
    const KivStatus status = lag_coefficients(r.data(), src, len - longest, shortest, lags, zero_energy);
    if (status != kivStatusOk) return status;
    const Peak peak = highest_peak(r.data(), lags, shortest);
    *periodicity = peak.height;
    *period = peak.lag;
    return kivStatusOk;
  });
}

// --- least squares --------------------------------------------------------------------------------------------------

constexpr int kLongestFrame = 1024;
constexpr int kMostPeriods = 16;
// Two periods explain a frame equally well within rounding.
constexpr double kBetterFit = 0x1p-40;

// R(period) of a frame of energy E: samples a period apart are added up, and so are their squares.
template <class S>
double explained(const S* x, int len, int period, double energy) {
  using V = simd::Vec<double>;
  if (period >= len) return 0.0;
  double sums[kLongestFrame];
  double squares[kLongestFrame];
  std::fill(sums, sums + period, 0.0);
  std::fill(squares, squares + period, 0.0);
  for (int start = 0; start < len; start += period) {
    const int count = std::min(period, len - start);
    transform<double>(
        count, [](V sum, V sample) { return sum + sample; }, sums, sums, x + start);
    transform<double>(
        count, [](V sum, V sample) { return mul_add(sample, sample, sum); }, squares, squares, x + start);
  }
  // The first `more` places of the period occur once more than the others.
  const int more = len % period;
  const int times = len / period;
  const auto mean = [&](auto of) { return of(0, more) / (times + 1) + of(more, period - more) / times; };
  const double i0 = mean([&](int from, int count) { return dot_product<double>(sums + from, sums + from, count); });
  const double i1 = mean([&](int from, int count) {
    return reduce_sum<double>(
        count, [](V sum, V square) { return sum + square; }, squares + from);
  });
  return energy == i1 ? 0.0 : (i0 - i1) / (energy - i1);
}

float in_format(double r, float*) { return static_cast<float>(r); }
Kiv16s in_format(double r, Kiv16s*) { return round_saturated<Kiv16s>(r * 32768.0); }

double energy_of(const Kiv32f* x, int len) { return dot_product<double>(x, x, len); }
double energy_of(const Kiv16s* x, int len) { return static_cast<double>(exact_dot_product(x, x, len)); }

template <class S>
KivStatus least_squares(const S* src, int len, S* periodicity, int* period, int shortest, int longest) {
  const bool length = len <= kLongestFrame && len <= std::int64_t{kMostPeriods} * longest;
  const KivStatus checks = first_failure(not_null(src, periodicity, period), positive(len),
                                         period_range(shortest, longest), require(length, kivStatusBadLength));
  return run(checks, [&] {
    const NearestRounding nearest;  // of periods and of the 16-bit result
    const double energy = energy_of(src, len);
    int best = shortest;
    double most = explained(src, len, shortest, energy);
    // All periods of a frame's length and above explain nothing.
    for (int p = shortest + 1; p <= std::min(longest, len); ++p) {
      const double r = explained(src, len, p, energy);
      if (r > most + kBetterFit) {
        most = r;
        best = p;
      }
    }
    *periodicity = in_format(most, periodicity);
    *period = best;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsPeriodicity_32f(const Kiv32f* pSrc, int len, int minPeriod, int maxPeriod, Kiv32f* pPeriodicity,
                              Kiv32f* pPeriod) {
  return correlation_peak(pSrc, len, minPeriod, maxPeriod, pPeriodicity, pPeriod);
}
KivStatus kivsPeriodicity_16s32f(const Kiv16s* pSrc, int len, int minPeriod, int maxPeriod, Kiv32f* pPeriodicity,
                                 Kiv32f* pPeriod) {
  return correlation_peak(pSrc, len, minPeriod, maxPeriod, pPeriodicity, pPeriod);
}

KivStatus kivsPeriodicityLSPE_32f(const Kiv32f* pSrc, int len, Kiv32f* pPeriodicity, int* pPeriod, int minPeriod,
                                  int maxPeriod) {
  return least_squares(pSrc, len, pPeriodicity, pPeriod, minPeriod, maxPeriod);
}
KivStatus kivsPeriodicityLSPE_16s(const Kiv16s* pSrc, int len, Kiv16s* pPeriodicity, int* pPeriod, int minPeriod,
                                  int maxPeriod) {
  return least_squares(pSrc, len, pPeriodicity, pPeriod, minPeriod, maxPeriod);
}
}
