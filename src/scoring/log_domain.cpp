// Exports of the log-domain operations, their integer forms, and log-subtraction.
#include "kivsr/scoring/log_domain.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "frame/elementary.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "log_add.h"
#include "log_sum.h"
#include "log_tables.h"
#include "vector/conversion.h"

namespace kivsr {
namespace {

constexpr int kBlock = 128;

template <class T>
void to_real(float* dst, const T* src, int len, float multiplier) {
  const auto factor = simd::Vec<float>::broadcast(multiplier);
  transform<float>(
      len, [=](auto x) { return x * factor; }, dst, src);
}

template <class T>
void log_add_integers(T* src_dst, const T* src, int len, int scale_factor, KivLogAddHint hint) {
  const NearestRounding nearest;
  const NearestExtendedRounding nearest_extended;
  const auto multiplier = static_cast<float>(full_double_scale(scale_factor));
  const int back = -std::clamp(scale_factor, -2000, 2000);
  alignas(32) float a[kBlock];
  alignas(32) float b[kBlock];
  for (int i = 0; i < len;) {
    const int n = std::min(kBlock, len - i);
    to_real(a, src + i, n, multiplier);
    to_real(b, src_dst + i, n, multiplier);
    log_add(b, a, n, hint);
    convert_to_integer(src_dst + i, b, n, kivRndNear, back);
    i += n;
  }
}

// Truncated and saturated; a NaN gives the lowest value.
template <class T>
T truncated(double x) {
  using L = std::numeric_limits<T>;
  if (x >= static_cast<double>(L::max())) return L::max();
  if (!(x > static_cast<double>(L::min()))) return L::min();
  return static_cast<T>(x);
}

// A few elements: the running value in double precision, rounded to single after every step.
template <class T>
float log_sum_few(const T* src, int len, double multiplier) {
  using V = simd::Vec<double>;
  double running = src[0] * multiplier;
  for (int i = 1; i < len; ++i) {
    const V sum = log_add<Degree10>(V::broadcast(src[i] * multiplier), V::broadcast(running));
    running = static_cast<float>(sum.first());
  }
  return static_cast<float>(running);
}

// Blocks of single-precision values, each block behind the sum of the blocks before it.
template <class T>
float log_sum_blocks(const T* src, int len, float multiplier) {
  alignas(32) float values[1 + kBlock];
  float running = 0.0F;
  for (int i = 0; i < len;) {
    const int n = std::min(kBlock, len - i);
    to_real(values + 1, src + i, n, multiplier);
    values[0] = running;
    running = i == 0 ? log_sum(values + 1, n) : log_sum(values, n + 1);
    i += n;
  }
  return running;
}

template <class T>
T log_sum_integers(const T* src, int len, int scale_factor) {
  if (len == 1) return src[0];
  constexpr int kFew = 6;
  const NearestRounding nearest;
  const double multiplier = full_double_scale(scale_factor);
  const float sum =
      len <= kFew ? log_sum_few(src, len, multiplier) : log_sum_blocks(src, len, static_cast<float>(multiplier));
  return truncated<T>(sum / multiplier);
}

// ln(e^x - e^y) given d = y - x < 0 (or NaN).
double log_difference(double x, double d) {
  if (d < kLogCutOff) return x > kLogZero ? x : kLogZero;
  const double remainder = 1.0 - exponential(d);
  if (remainder <= kSmallestDifference) return kLogZero;
  return x + natural_log(remainder);
}

template <class T>
KivStatus all_above(const T* src, const T* src_dst, int len) {
  for (int i = 0; i < len; ++i) {
    if constexpr (std::is_integral_v<T>) {
      if (src_dst[i] >= src[i]) return kivStatusOutOfRange;
    } else {
      if (src_dst[i] - src[i] >= T{0}) return kivStatusOutOfRange;
    }
  }
  return kivStatusOk;
}

template <class T>
KivStatus log_subtract(const T* src, T* src_dst, int len) {
  if (const KivStatus s = first_failure(positive(len), not_null(src, src_dst)); s != kivStatusOk) return s;
  return run(all_above(src, src_dst, len), [&] {
    for (int i = 0; i < len; ++i) {
      const T d = src_dst[i] - src[i];
      src_dst[i] = static_cast<T>(log_difference(src[i], d));
    }
  });
}

template <class T>
KivStatus log_subtract(const T* src, T* src_dst, int len, int scale_factor) {
  if (const KivStatus s = first_failure(positive(len), not_null(src, src_dst)); s != kivStatusOk) return s;
  return run(all_above(src, src_dst, len), [&] {
    const NearestRounding nearest;
    const double multiplier = full_double_scale(scale_factor);
    for (int i = 0; i < len; ++i) {
      const double x = src[i];
      const double difference = log_difference(x * multiplier, (src_dst[i] - x) * multiplier);
      src_dst[i] = truncated<T>(difference / multiplier);
    }
  });
}

template <class T>
KivStatus log_add_checked(const T* src, T* src_dst, int len, KivLogAddHint hint) {
  return run(first_failure(positive(len), not_null(src, src_dst)), [&] { log_add(src_dst, src, len, hint); });
}
template <class T>
KivStatus log_add_checked(const T* src, T* src_dst, int len, int scale_factor, KivLogAddHint hint) {
  return run(first_failure(positive(len), not_null(src, src_dst)),
             [&] { log_add_integers(src_dst, src, len, scale_factor, hint); });
}
template <class T>
KivStatus log_sum_checked(const T* src, T* dst, int len) {
  return run(first_failure(positive(len), not_null(src, dst)), [&] { *dst = log_sum(src, len); });
}
template <class T>
KivStatus log_sum_checked(const T* src, T* dst, int len, int scale_factor) {
  return run(first_failure(positive(len), not_null(src, dst)),
             [&] { *dst = log_sum_integers(src, len, scale_factor); });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsLogAdd_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len, KivLogAddHint hint) {
  return log_add_checked(pSrc, pSrcDst, len, hint);
}
KivStatus kivsLogAdd_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len, KivLogAddHint hint) {
  return log_add_checked(pSrc, pSrcDst, len, hint);
}
KivStatus kivsLogAdd_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor, KivLogAddHint hint) {
  return log_add_checked(pSrc, pSrcDst, len, scaleFactor, hint);
}
KivStatus kivsLogAdd_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor, KivLogAddHint hint) {
  return log_add_checked(pSrc, pSrcDst, len, scaleFactor, hint);
}

KivStatus kivsLogSum_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len) { return log_sum_checked(pSrc, pDst, len); }
KivStatus kivsLogSum_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len) { return log_sum_checked(pSrc, pDst, len); }
KivStatus kivsLogSum_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor) {
  return log_sum_checked(pSrc, pDst, len, scaleFactor);
}
KivStatus kivsLogSum_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int len, int scaleFactor) {
  return log_sum_checked(pSrc, pDst, len, scaleFactor);
}

KivStatus kivsLogSub_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len) { return log_subtract(pSrc, pSrcDst, len); }
KivStatus kivsLogSub_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) { return log_subtract(pSrc, pSrcDst, len); }
KivStatus kivsLogSub_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor) {
  return log_subtract(pSrc, pSrcDst, len, scaleFactor);
}
KivStatus kivsLogSub_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor) {
  return log_subtract(pSrc, pSrcDst, len, scaleFactor);
}

void GetLogAddConst(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3) {
  *p1 = kDegree21[0];
  *p2 = kDegree21[1];
  *p3 = kDegree21[2];
}
void GetLogAddConst_F(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3) {
  *p1 = kDegree10[0];
  *p2 = kDegree10[1];
  *p3 = kDegree10[2];
}
}
