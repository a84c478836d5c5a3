// Features of reflection coefficients, element by element: area ratios of the acoustic tube, their logarithms, areas
// and spectral tilts. Divisions are exact.
#include <algorithm>
#include <limits>

#include "frame/constants.h"
#include "frame/scratch.h"
#include "frame/simd/control.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/frontend/reflection.h"
#include "vector/conversion.h"
#include "vector/logarithm.h"

namespace kivsr {
namespace {

using V = simd::Vec<float>;

// Watches for undefined operations and divisions by zero in its lifetime, whatever flags the caller left set, and never
// traps. Rounds to nearest: where k = -1 the sum 1 + k must be +0, and 16-bit results are those of one mode. Afterwards
// the state is the caller's with the invalid flag clear.
class InvalidWatch {
 public:
  InvalidWatch() : caller_(simd::start_watch()) {}
  ~InvalidWatch() { simd::end_watch(caller_); }
  InvalidWatch(const InvalidWatch&) = delete;
  InvalidWatch& operator=(const InvalidWatch&) = delete;

  KivStatus status() const { return simd::undefined_met() ? kivStatusDivByZero : kivStatusOk; }

 private:
  decltype(simd::start_watch()) caller_;
};

constexpr auto kAreaRatio = [](V k) {
  const V one = V::broadcast(1.0F);
  return (one - k) / (one + k);
};

// Undefined ratios, where k is infinite, become infinite, and with them the caller's NaNs whose sign bit is set. They
// are marked by such a NaN first, since processors differ in the NaN that they make.
KivStatus area_ratios(const float* k, float* dst, std::ptrdiff_t len) {
  const InvalidWatch watch;
  const V infinity = V::broadcast(Special<float>::infinity());
  const V undefined = V::broadcast(-std::numeric_limits<float>::quiet_NaN());
  transform<float>(
      len, [=](V x) { return select(abs(x) == infinity, undefined, kAreaRatio(x)); }, dst, k);
  if (watch.status() == kivStatusOk) return kivStatusOk;
  const auto top_ten = bits(undefined);
  transform<float>(
      len, [=](V ratio) { return from_bits(select((bits(ratio) & top_ten) == top_ten, bits(infinity), bits(ratio))); },
      dst, static_cast<const float*>(dst));
  return kivStatusDivByZero;
}

KivStatus log_area_ratios(const float* k, float* dst, std::ptrdiff_t len, float threshold) {
  const InvalidWatch watch;
  const V high = V::broadcast(threshold);
  const V low = V::broadcast(-threshold);
  // A NaN passes both bounds.
  transform<float>(
      len, [=](V x) { return kAreaRatio(min(high, max(low, x))); }, dst, k);
  return logarithm(dst, len);
}

KivStatus areas(const float* k, float* dst, std::ptrdiff_t len) {
  const InvalidWatch watch;
  transform<float>(len, kAreaRatio, dst, k);
  float area = 1.0F;
  for (std::ptrdiff_t i = 0; i < len; ++i) dst[i] = area = area * dst[i];
  return watch.status();
}

constexpr auto kSignedSum = [](V a, V b) { return a + b; };
constexpr auto kMagnitudeSum = [](V a, V b) { return abs(a) + abs(b); };

template <class Denominator>
KivStatus tilts(const float* a, const float* b, float* dst, std::ptrdiff_t len, Denominator denominator) {
  const InvalidWatch watch;
  transform<float>(
      len, [=](V x, V y) { return (abs(x) - abs(y)) / denominator(x, y); }, dst, a, b);
  return watch.status();
}

KivStatus in_unit_interval(float threshold) {
  return require(threshold > 0.0F && threshold < 1.0F, kivStatusOutOfRange);
}

// --- 16-bit forms: the float kernels between two conversions ------------------------------------------------------

constexpr int kStackElements = 100;
using Buffer = Scratch<float, kStackElements>;

// v stands for v * 2^exponent.
void to_floats(Buffer& dst, const Kiv16s* src, int len, int exponent) {
  convert_scaled(dst.data(), src, len, -std::clamp(exponent, -1000, 1000));
}

template <class Kernel>
KivStatus through_floats(const Kiv16s* src, int src_scale_factor, Kiv16s* dst, int len, int scale_factor,
                         Kernel kernel) {
  Buffer values(static_cast<std::size_t>(len));
  if (!values) return kivStatusNoMemory;
  to_floats(values, src, len, src_scale_factor);
  const KivStatus status = kernel(values.data(), values.data(), len);
  convert_to_integer(dst, values.data(), len, kivRndNear, scale_factor);
  return status;
}

// The scale of the sources cancels.
template <class Denominator>
KivStatus tilts_through_floats(const Kiv16s* a, const Kiv16s* b, Kiv16s* dst, int len, int scale_factor,
                               Denominator denominator) {
  Buffer second(static_cast<std::size_t>(len));
  if (!second) return kivStatusNoMemory;
  to_floats(second, b, len, 0);
  return through_floats(a, 0, dst, len, scale_factor, [&](const float* first, float* results, int count) {
    return tilts(first, second.data(), results, count, denominator);
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsReflectionToAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] { return area_ratios(pSrc, pDst, len); });
}
KivStatus kivsReflectionToLAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f threshold) {
  return run(first_failure(not_null(pSrc, pDst), positive(len), in_unit_interval(threshold)),
             [&] { return log_area_ratios(pSrc, pDst, len, threshold); });
}
KivStatus kivsReflectionToTrueAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)), [&] { return areas(pSrc, pDst, len); });
}
KivStatus kivsReflectionToTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrcA, pSrcB, pDst), positive(len)),
             [&] { return tilts(pSrcA, pSrcB, pDst, len, kSignedSum); });
}
KivStatus kivsReflectionToAbsTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len) {
  return run(first_failure(not_null(pSrcA, pSrcB, pDst), positive(len)),
             [&] { return tilts(pSrcA, pSrcB, pDst, len, kMagnitudeSum); });
}

KivStatus kivsReflectionToAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len, int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)),
             [&] { return through_floats(pSrc, srcScaleFactor, pDst, len, scaleFactor, area_ratios); });
}
KivStatus kivsReflectionToLAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len, Kiv32f threshold,
                                      int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst), positive(len), in_unit_interval(threshold)), [&] {
    return through_floats(pSrc, srcScaleFactor, pDst, len, scaleFactor, [=](const float* k, float* ratios, int count) {
      return log_area_ratios(k, ratios, count, threshold);
    });
  });
}
KivStatus kivsReflectionToTrueAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len,
                                         int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)),
             [&] { return through_floats(pSrc, srcScaleFactor, pDst, len, scaleFactor, areas); });
}
KivStatus kivsReflectionToTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len,
                                       int scaleFactor) {
  return run(first_failure(not_null(pSrcA, pSrcB, pDst), positive(len)),
             [&] { return tilts_through_floats(pSrcA, pSrcB, pDst, len, scaleFactor, kSignedSum); });
}
KivStatus kivsReflectionToAbsTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len,
                                          int scaleFactor) {
  return run(first_failure(not_null(pSrcA, pSrcB, pDst), positive(len)),
             [&] { return tilts_through_floats(pSrcA, pSrcB, pDst, len, scaleFactor, kMagnitudeSum); });
}
}
