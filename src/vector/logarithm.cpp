// Natural logarithms, in place and of scaled integers.
#include "logarithm.h"

#include <cmath>
#include <limits>

#include "frame/constants.h"
#include "frame/elementary.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/simd/math.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "kivsr/vector/logarithm.h"

namespace kivsr {
namespace {

// What a call met; a zero is reported before a negative.
struct LogarithmReport {
  bool zero = false;
  bool invalid = false;
  KivStatus status() const { return zero ? kivStatusInfResult : invalid ? kivStatusNanResult : kivStatusOk; }
};

// One element of any kind.
float logarithm_of_any(float x, LogarithmReport* report) {
  if (x == 0.0F) {
    report->zero = true;
    return Special<float>::negative_infinity();
  }
  if (!(x > 0.0F)) {
    report->invalid = true;
    return Special<float>::nan();
  }
  return static_cast<float>(natural_log(x));
}

simd::Vec<float> logarithm_of_any(simd::Vec<float> x, LogarithmReport* report) {
  constexpr int W = simd::Vec<float>::width;
  float lanes[W];
  store(lanes, x);
  const simd::Vec<float> regular = simd::log_normal(x);
  float results[W];
  store(results, regular);
  for (int i = 0; i < W; ++i) {
    if (!(lanes[i] >= std::numeric_limits<float>::min() && lanes[i] <= std::numeric_limits<float>::max())) {
      results[i] = logarithm_of_any(lanes[i], report);
    }
  }
  return simd::load<float>(results);
}

// ln(x) 2^-scaleFactor to nearest and saturated; zero and negative elements give the lowest value.
KivStatus logarithm(Kiv32s* dst, const Kiv32s* src, int len, int scale_factor) {
  const NearestRounding nearest;
  LogarithmReport report;
  const double factor = double_scale(scale_factor);
  for (int i = 0; i < len; ++i) {
    const Kiv32s x = src[i];
    report.zero = report.zero || x == 0;
    report.invalid = report.invalid || x < 0;
    dst[i] = x > 0 ? round_saturated<Kiv32s>(natural_log(x) * factor) : std::numeric_limits<Kiv32s>::min();
  }
  return report.status();
}

}  // namespace

KivStatus logarithm(float* src_dst, std::ptrdiff_t len) {
  LogarithmReport report;
  transform<float>(
      len,
      [&](auto x) {
        if (simd::all_positive_normal(x)) [[likely]] {
          return simd::log_normal(x);
        }
        return logarithm_of_any(x, &report);
      },
      src_dst, src_dst);
  return report.status();
}

}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsLn_32f_I(Kiv32f* pSrcDst, int len) {
  return run(first_failure(not_null(pSrcDst), positive(len)), [&] { return logarithm(pSrcDst, len); });
}
KivStatus kivsLn_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor) {
  return run(first_failure(not_null(pSrc, pDst), positive(len)),
             [&] { return logarithm(pDst, pSrc, len, scaleFactor); });
}
KivStatus kivsLn_32s_ISfs(Kiv32s* pSrcDst, int len, int scaleFactor) {
  return run(first_failure(not_null(pSrcDst), positive(len)),
             [&] { return logarithm(pSrcDst, pSrcDst, len, scaleFactor); });
}
}
