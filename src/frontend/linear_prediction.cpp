// Linear prediction of one frame: autocorrelation, the recursions of Levinson-Durbin and Schur, and the conversions of
// prediction coefficients. J. D. Markel, A. H. Gray, Linear Prediction of Speech, 1976.
//
// Prediction-error filter A(z) = 1 + a1 z^-1 + ... + ap z^-p throughout.
#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstdint>

#include "frame/scratch.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/frontend/linear_prediction.h"
#include "vector/copy.h"
#include "vector/fft.h"

namespace kivsr {
namespace {

using V = simd::Vec<float>;
constexpr int W = V::width;

// From this many lags on the sums go through the FFT.
constexpr std::ptrdiff_t kFftLags = 856;

// --- autocorrelation ------------------------------------------------------------------------------------------------

// Lags are summed in tiles of four, so that a vector of the signal is loaded once for four products.
constexpr int kTile = 4;
constexpr int kStreams = simd::kAccumulators / kTile;
constexpr int kHeldStreams = simd::kHeldAccumulators / kTile;

// r[l] = sum over i of x[i] x[i + lag + l], l < kLags <= kTile. The order of the sum of a lag depends on len and the
// tile that it lies in alone, not on how many lags are wanted.
template <int kLags>
void lag_sums(float* r, const float* x, std::ptrdiff_t len, std::ptrdiff_t lag) {
  assert(lag >= 0 && lag + kLags <= len);
  V sums[kStreams][kLags];
  for (auto& stream : sums) std::fill(stream, stream + kLags, V::zero());
  const std::ptrdiff_t common = len - lag - (kTile - 1);
  std::ptrdiff_t i = 0;
#pragma GCC unroll 4
  for (int held = 0; held < kStreams; held += kHeldStreams) {
    for (i = 0; i + kStreams * W <= common; i += kStreams * W) {
#pragma GCC unroll 4
      for (int s = held; s < held + kHeldStreams; ++s) {
        const float* const at = x + i + s * W;
        const V now = simd::load<float>(at);
#pragma GCC unroll 4
        for (int l = 0; l < kLags; ++l) sums[s][l] = mul_add(now, simd::load<float>(at + lag + l), sums[s][l]);
      }
    }
  }
#pragma GCC unroll 4
  for (int l = 0; l < kLags; ++l) {
    V sum = sums[0][l];
    for (int s = 1; s < kStreams; ++s) sum = sum + sums[s][l];
    const std::ptrdiff_t products = len - lag - l;
    std::ptrdiff_t j = i;
    for (; j + W <= products; j += W) sum = mul_add(simd::load<float>(x + j), simd::load<float>(x + j + lag + l), sum);
    if (j < products) {
      const int rest = static_cast<int>(products - j);
      sum = mul_add(simd::load_some<float>(x + j, rest), simd::load_some<float>(x + j + lag + l, rest), sum);
    }
    r[l] = sum_lanes(sum);
  }
}

void direct_sums(float* r, const float* x, std::ptrdiff_t len, std::ptrdiff_t lags) {
  std::ptrdiff_t lag = 0;
  for (; lag + kTile <= lags; lag += kTile) lag_sums<kTile>(r + lag, x, len, lag);
  switch (lags - lag) {
    case 3: lag_sums<3>(r + lag, x, len, lag); break;
    case 2: lag_sums<2>(r + lag, x, len, lag); break;
    case 1: lag_sums<1>(r + lag, x, len, lag); break;
    default: break;
  }
}

// The inverse transform of the power spectrum, the frame padded with zeros to twice its length or more so that the
// ends do not meet.
KivStatus fft_sums(float* r, const float* x, std::ptrdiff_t len, std::ptrdiff_t lags) {
  int order = 1;
  while ((std::int64_t{1} << order) < 2 * std::int64_t{len}) ++order;
  if (order > fft::kMaximumOrder) return kivStatusFftOrderError;
  fft::Workspace room(order, 1, kivFftScaleInverse);
  if (!room) return kivStatusNoMemory;
  float* const buffer = room.frame(0);
  const std::ptrdiff_t n = std::ptrdiff_t{1} << order;
  copy(buffer, x, len);
  zero(buffer + len, n - len);
  fft::forward(buffer, buffer, room.transform(), room.work(), fft::Spectrum::kPack);
  fft::multiply_pack_conjugate(buffer, buffer, n);
  fft::inverse(buffer, buffer, room.transform(), room.work());
  copy(r, buffer, lags);
  return kivStatusOk;
}

KivStatus autocorrelate(const float* x, std::ptrdiff_t len, float* r, std::ptrdiff_t lags) {
  const std::ptrdiff_t computed = std::min(len, lags);
  if (computed < kFftLags) {
    direct_sums(r, x, len, computed);
  } else if (const KivStatus status = fft_sums(r, x, len, computed); status != kivStatusOk) {
    return status;
  }
  std::fill(r + computed, r + lags, 0.0F);
  return kivStatusOk;
}

// --- Levinson-Durbin ------------------------------------------------------------------------------------------------

// Sum of products, four sums in turn below the lengths at which vectors pay.
float dot(const float* a, const float* b, std::ptrdiff_t n) {
  if (n >= 32) {
    return reduce_sum<float>(
        n, [](V sum, V x, V y) { return mul_add(x, y, sum); }, a, b);
  }
  float sums[4] = {};
  std::ptrdiff_t i = 0;
  for (; i + 4 <= n; i += 4) {
    for (int s = 0; s < 4; ++s) sums[s] += a[i + s] * b[i + s];
  }
  for (int s = 0; i < n; ++i, ++s) sums[s] += a[i] * b[i];
  return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

// The coefficients of every completed stage are in a, also when the error stops being positive.
KivStatus levinson_durbin(const float* r, float* a, std::ptrdiff_t order, float* error) {
  assert(order >= 1);
  // The lags from rp down to r1, so that the sum of a stage runs forward through both arrays.
  Scratch<float, 64> lags_down(static_cast<std::size_t>(order) + 1);
  if (!lags_down) return kivStatusNoMemory;
  for (std::ptrdiff_t i = 1; i <= order; ++i) lags_down[order - i] = r[i];
  float e = r[0];
  if (!(e > 0.0F)) return kivStatusNonPositiveError;
  for (std::ptrdiff_t i = 1; i <= order; ++i) {
    const float k = (r[i] + dot(a, lags_down.data() + (order - i + 1), i - 1)) / e;
    // Coefficients j and i - j change places with each other's old values.
    std::ptrdiff_t low = 0;
    std::ptrdiff_t high = i - 2;
    for (; low < high; ++low, --high) {
      const float a_low = a[low];
      const float a_high = a[high];
      a[low] = a_low - a_high * k;
      a[high] = a_high - a_low * k;
    }
    if (low == high) a[low] = a[low] - a[low] * k;
    a[i - 1] = 0.0F - k;
    e = e * (1.0F - k * k);
    if (!(e > 0.0F)) return kivStatusNonPositiveError;
  }
  *error = e;
  return kivStatusOk;
}

// --- Schur ----------------------------------------------------------------------------------------------------------

KivStatus schur(const float* r, float* reflection, std::ptrdiff_t order, float* error) {
  assert(order >= 1);
  const std::size_t count = static_cast<std::size_t>(order) + 1;
  Scratch<float, 1024> p(count);
  if (!p) return kivStatusNoMemory;
  Scratch<float, 1024> v(count);
  if (!v) return kivStatusNoMemory;
  for (std::ptrdiff_t i = 1; i <= order; ++i) {
    p[i] = r[i];
    v[i] = r[i - 1];
  }
  float left = 0.0F;  // the energy that prediction of order m leaves
  for (std::ptrdiff_t m = 1; m <= order; ++m) {
    const float km = (0.0F - p[m]) / v[m];
    reflection[m - 1] = km;
    left = p[m] * km + v[m];
    // Upward, with the old neighbours at hand, so that the next k is ready first.
    float p_before = p[m];
    float v_before = v[m];
    for (std::ptrdiff_t i = m + 1; i <= order; ++i) {
      const float p_old = p[i];
      const float v_old = v[i];
      p[i] = km * v_old + p_old;
      v[i] = km * p_before + v_before;
      p_before = p_old;
      v_before = v_old;
    }
  }
  *error = left;
  return kivStatusOk;
}

// --- conversions ----------------------------------------------------------------------------------------------------

KivStatus step_down(const float* a, float* reflection, std::ptrdiff_t order) {
  assert(order >= 1);
  Scratch<float, 16> stage(static_cast<std::size_t>(order) + 1);
  if (!stage) return kivStatusNoMemory;
  float* const coefficients = stage.data();
  copy(coefficients + 1, a, order);
  for (std::ptrdiff_t m = order; m >= 1; --m) {
    const float k = 0.0F - coefficients[m];
    const float s = 1.0F / (1.0F - k * k);
    if (k == 1.0F || k == -1.0F || std::isnan(k)) return kivStatusUnitReflection;
    reflection[m - 1] = k;
    // Coefficients j and m - j change places with each other's old values.
    for (std::ptrdiff_t low = 1, high = m - 1; low <= high; ++low, --high) {
      const float a_low = coefficients[low];
      const float a_high = coefficients[high];
      coefficients[low] = (a_high * k + a_low) * s;
      coefficients[high] = (a_low * k + a_high) * s;
    }
  }
  return kivStatusOk;
}

constexpr int kFirstReciprocal = 4;
constexpr int kLastReciprocal = 21;
// Entry i is 1 / (i + 1).
constexpr auto kReciprocals = [] {
  std::array<float, kLastReciprocal> table{};
  for (int i = 0; i < kLastReciprocal; ++i) table[static_cast<std::size_t>(i)] = 1.0F / static_cast<float>(i + 1);
  return table;
}();

template <class Divide>
void cepstrum(const float* a, float* c, int len, Divide divide) {
  c[0] = 0.0F - a[0];
  for (int n = 2; n <= len; ++n) {
    float sum = 0.0F;
    for (int j = 1; j < n; ++j) sum += (static_cast<float>(n - j) * a[j - 1]) * c[n - j - 1];
    c[n - 1] = 0.0F - (divide(sum, n) + a[n - 1]);
  }
}

// Common lengths multiply by the stored reciprocal of n, others divide: the last bits may differ.
void cepstrum(const float* a, float* c, int len) {
  if (len >= kFirstReciprocal && len <= kLastReciprocal) {
    cepstrum(a, c, len, [](float sum, int n) { return sum * kReciprocals[static_cast<std::size_t>(n - 1)]; });
  } else {
    cepstrum(a, c, len, [](float sum, int n) { return sum / static_cast<float>(n); });
  }
}

// --- the whole analysis ---------------------------------------------------------------------------------------------

KivStatus predict(const float* x, std::ptrdiff_t len, float* a, std::ptrdiff_t order) {
  Scratch<float, 63> r(static_cast<std::size_t>(order) + 1);
  if (!r) return kivStatusNoMemory;
  const KivStatus status = autocorrelate(x, len, r.data(), order + 1);
  if (status != kivStatusOk) return status;
  float error;
  return levinson_durbin(r.data(), a, order, &error);
}

// The predictor x[n] ~ sum of -a_k x[n - k]. What a recursion that stopped early left in the array is negated as well.
KivStatus predict_negated(const float* x, std::ptrdiff_t len, float* a, std::ptrdiff_t order) {
  const KivStatus status = predict(x, len, a, order);
  if (status != kivStatusOk && status != kivStatusNonPositiveError) return status;
  transform<float>(
      order, [](V c) { return V::zero() - c; }, a, a);
  return status;
}

KivStatus check_frame(const float* src, int len, const float* lpc, int order) {
  return first_failure(not_null(src, lpc), positive(len, order), require(order <= len, kivStatusBadSize));
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsAutoCorr_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pDst, int dstLen) {
  return run(first_failure(not_null(pSrc, pDst), positive(srcLen, dstLen)),
             [&] { return autocorrelate(pSrc, srcLen, pDst, dstLen); });
}
KivStatus kivsDurbin_32f(const Kiv32f* pAutoCorr, Kiv32f* pLPC, int order, Kiv32f* pErr) {
  return run(first_failure(not_null(pAutoCorr, pLPC), positive(order), not_null(pErr)),
             [&] { return levinson_durbin(pAutoCorr, pLPC, order, pErr); });
}
KivStatus kivsSchur_32f(const Kiv32f* pAutoCorr, Kiv32f* pRefl, int order, Kiv32f* pErr) {
  return run(first_failure(not_null(pAutoCorr, pRefl), positive(order), not_null(pErr)),
             [&] { return schur(pAutoCorr, pRefl, order, pErr); });
}
KivStatus kivsLinearPrediction_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order) {
  return run(check_frame(pSrc, srcLen, pLPC, order), [&] { return predict(pSrc, srcLen, pLPC, order); });
}
KivStatus kivsLinearPredictionNeg_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order) {
  return run(check_frame(pSrc, srcLen, pLPC, order), [&] { return predict_negated(pSrc, srcLen, pLPC, order); });
}
KivStatus kivsLPToReflection_32f(const Kiv32f* pLPC, Kiv32f* pRefl, int order) {
  return run(first_failure(not_null(pLPC, pRefl), positive(order)), [&] { return step_down(pLPC, pRefl, order); });
}
KivStatus kivsLPToCepstrum_32f(const Kiv32f* pLPC, Kiv32f* pCep, int len) {
  return run(first_failure(not_null(pLPC, pCep), positive(len)), [&] { cepstrum(pLPC, pCep, len); });
}
}
