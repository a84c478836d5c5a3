// Distances of vectors from Gaussians and between Gaussians.
#include "kivsr/scoring/distances.h"

#include <algorithm>
#include <cstddef>

#include "frame/constants.h"
#include "frame/scratch.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "gaussian_arithmetic.h"
#include "gaussian_rows.h"
#include "vector/logarithm.h"

namespace kivsr {
namespace {

// --- Mahalanobis ----------------------------------------------------------------

template <class E, class R>
KivStatus mahalanobis(const E* src, const E* mean, const E* var, int len, R* result) {
  return run(first_failure(not_null(src, mean, var, result), positive(len)),
             [&] { *result = FloatingArithmetic<E, R>{}.distance(src, mean, var, len); });
}

// Many vectors and one Gaussian, or one vector and many Gaussians: the views tell.
template <class X, class M, class T>
KivStatus mahalanobis(X x, M mean, M var, int len, T* dst, int height) {
  return run(
      first_failure(step_covers(x, len), step_covers(mean, len), all_given(x, mean, var, dst), positive(len, height)),
      [&] { FloatingArithmetic<T, T>{}.distances(dst, x, mean, var, len, height); });
}

// --- Bhattacharyya ---------------------------------------------------------------

struct TwoGaussians {
  const float* mean1;
  const float* var1;
  const float* mean2;
  const float* var2;
};

// The first element that is zero or negative in one of the four vectors decides: a negative value is a NaN, a zero an
// infinite distance. Means count as variances do.
KivStatus scan(const TwoGaussians& g, int len) {
  using V = simd::Vec<float>;
  const V zero = V::zero();
  const auto at_most_zero = [&](const float* p) { return simd::load<float>(p) <= zero; };
  int i = 0;
  for (; i + V::width <= len; i += V::width) {
    if (any(at_most_zero(g.mean1 + i) | at_most_zero(g.var1 + i) | at_most_zero(g.mean2 + i) |
            at_most_zero(g.var2 + i)))
      break;
  }
  for (; i < len; ++i) {
    const float four[] = {g.mean1[i], g.var1[i], g.mean2[i], g.var2[i]};
    if (std::any_of(four, four + 4, [](float x) { return x < 0.0F; })) return kivStatusNanResult;
    if (std::any_of(four, four + 4, [](float x) { return x == 0.0F; })) return kivStatusInfResult;
  }
  return kivStatusOk;
}

// arguments[i] = argument(var1[i], var2[i]); returns the sum of (mean1 - mean2)^2 / (var1 + var2).
template <class T, class Argument>
T compare(const TwoGaussians& g, int len, T* arguments, Argument argument) {
  using V = simd::Vec<T>;
  constexpr int W = V::width;
  V even = V::zero();
  V odd = V::zero();
  const auto take = [&](V& sum, const TwoGaussians& at, std::ptrdiff_t i, T* out) {
    const V s1 = simd::load<T>(at.var1 + i);
    const V s2 = simd::load<T>(at.var2 + i);
    const V d = simd::load<T>(at.mean1 + i) - simd::load<T>(at.mean2 + i);
    sum = sum + d * d / (s1 + s2);
    simd::store(out, argument(s1, s2));
  };
  std::ptrdiff_t i = 0;
  for (; i + 2 * W <= len; i += 2 * W) {
    take(even, g, i, arguments + i);
    take(odd, g, i + W, arguments + i + W);
  }
  if (i + W <= len) {
    take(even, g, i, arguments + i);
    i += W;
  }
  if (i < len) {
    float rest[4][W] = {};
    std::fill_n(rest[1], W, 1.0F);
    std::fill_n(rest[3], W, 1.0F);
    std::copy(g.mean1 + i, g.mean1 + len, rest[0]);
    std::copy(g.var1 + i, g.var1 + len, rest[1]);
    std::copy(g.mean2 + i, g.mean2 + len, rest[2]);
    std::copy(g.var2 + i, g.var2 + len, rest[3]);
    T out[W];
    take(odd, {rest[0], rest[1], rest[2], rest[3]}, 0, out);
    std::copy_n(out, len - i, arguments + i);
  }
  return simd::sum_lanes(even + odd);
}

// 2 + s2/s1 + s1/s2 = (s1 + s2)^2 / (s1 s2): in single precision by two reciprocal estimates, else exactly.
simd::Vec<float> variance_ratio(simd::Vec<float> s1, simd::Vec<float> s2) {
  const auto ratio = s2 * reciprocal_estimate(s1);
  return (simd::Vec<float>::broadcast(2.0F) + ratio) + reciprocal_estimate(ratio);
}
simd::Vec<double> variance_ratio(simd::Vec<double> s1, simd::Vec<double> s2) {
  const auto one = simd::Vec<double>::broadcast(1.0);
  const auto ratio = s2 * (one / s1);
  return (simd::Vec<double>::broadcast(2.0) + ratio) + one / ratio;
}

// distance(S, q): S the sum of logarithms of the arguments, q the sum of compare(), both rounded to T.
template <class T, class Argument, class Result>
KivStatus checked_distance(const TwoGaussians& g, int len, T* result, Argument argument, Result distance) {
  const KivStatus checks = first_failure(not_null(g.mean1, g.var1, g.mean2, g.var2, result), positive(len));
  return run(checks, [&]() -> KivStatus {
    if (const KivStatus special = scan(g, len); special != kivStatusOk) {
      *result = special == kivStatusInfResult ? Special<T>::infinity() : Special<T>::nan();
      return special;
    }
    Scratch<T> arguments(static_cast<std::size_t>(len));
    if (!arguments) return kivStatusNoMemory;
    const T q = compare<T>(g, len, arguments.data(), argument);
    double logarithms;
    sum_of_logarithms(arguments.data(), len, &logarithms);
    *result = static_cast<T>(distance(static_cast<T>(logarithms), q));
    return kivStatusOk;
  });
}

// The constants are six digits of 2 ln 2 and of ln 2; distances are defined with these.
template <class T>
KivStatus bhattacharyya(const TwoGaussians& g, int len, T* result) {
  constexpr double kTwoLn2 = 1.386294;
  return checked_distance<T>(
      g, len, result, [](auto s1, auto s2) { return variance_ratio(s1, s2); },
      [=](double logarithms, double q) { return (0.5 * logarithms - len * kTwoLn2 * 0.5) * 0.5 + 0.25 * q; });
}
template <class T>
KivStatus bhattacharyya(const TwoGaussians& g, int len, T* result, T sum_log_var1, T sum_log_var2) {
  constexpr double kLn2 = 0.693147;
  const T own_logarithms = sum_log_var1 + sum_log_var2;
  return checked_distance<T>(
      g, len, result, [](auto s1, auto s2) { return s1 + s2; },
      [=](double logarithms, double q) {
        return (logarithms - len * kLn2) * 0.5 - static_cast<double>(own_logarithms) * 0.25 + q * 0.25;
      });
}

// --- cost of a merger ---------------------------------------------------------------

// Half of (w1 + w2) sum ln v - w1 L1 - w2 L2, v the variances of both Gaussians' frames taken together.
template <class T>
KivStatus merger_cost(const T* mean1, const T* var1, const T* mean2, const T* var2, int len, T* result, double weight1,
                      double log_term1, double weight2, double log_term2) {
  return run(first_failure(positive(len), not_null(mean1, var1, mean2, var2, result)), [&]() -> KivStatus {
    using V = simd::Vec<double>;
    constexpr std::ptrdiff_t kBlock = 256;
    const double weight = weight1 + weight2;
    const V share1 = V::broadcast(weight1 / weight);
    const V share2 = V::broadcast(weight2 / weight);
    double logarithms = 0.0;
    double variances[kBlock];
    for (std::ptrdiff_t i = 0; i < len; i += kBlock) {
      const std::ptrdiff_t n = std::min(kBlock, len - i);
      transform<double>(
          n,
          [&](V m1, V s1, V m2, V s2) {
            const V d = m1 - m2;
            return share1 * s1 + share2 * s2 + share1 * share2 * d * d;
          },
          variances, mean1 + i, var1 + i, mean2 + i, var2 + i);
      double block;
      if (const KivStatus special = sum_of_logarithms(variances, n, &block); special != kivStatusOk) {
        *result = special == kivStatusInfResult ? Special<T>::infinity() : Special<T>::nan();
        return special;
      }
      logarithms += block;
    }
    *result = static_cast<T>(0.5 * (weight * logarithms - weight1 * log_term1 - weight2 * log_term2));
    return kivStatusOk;
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMahDistSingle_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pResult) {
  return mahalanobis(pSrc, pMean, pVar, len, pResult);
}
KivStatus kivsMahDistSingle_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pResult) {
  return mahalanobis(pSrc, pMean, pVar, len, pResult);
}
KivStatus kivsMahDistSingle_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                                   Kiv64f* pResult) {
  return mahalanobis(pSrc, pMean, pVar, len, pResult);
}
KivStatus kivsMahDist_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                             Kiv32f* pDst, int height) {
  return mahalanobis(StepRows{pSrc, step}, OneRow{pMean}, OneRow{pVar}, len, pDst, height);
}
KivStatus kivsMahDist_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                             Kiv64f* pDst, int height) {
  return mahalanobis(StepRows{pSrc, step}, OneRow{pMean}, OneRow{pVar}, len, pDst, height);
}
KivStatus kivsMahDist_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len,
                              Kiv32f* pDst, int height) {
  return mahalanobis(PointerRows{ppSrc}, OneRow{pMean}, OneRow{pVar}, len, pDst, height);
}
KivStatus kivsMahDist_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len,
                              Kiv64f* pDst, int height) {
  return mahalanobis(PointerRows{ppSrc}, OneRow{pMean}, OneRow{pVar}, len, pDst, height);
}
KivStatus kivsMahDistMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len,
                                     Kiv32f* pDst, int height) {
  return mahalanobis(OneRow{pSrc}, StepRows{pMean, step}, StepRows{pVar, step}, len, pDst, height);
}
KivStatus kivsMahDistMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc, int len,
                                     Kiv64f* pDst, int height) {
  return mahalanobis(OneRow{pSrc}, StepRows{pMean, step}, StepRows{pVar, step}, len, pDst, height);
}
KivStatus kivsMahDistMultiMix_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar, const Kiv32f* pSrc,
                                      int len, Kiv32f* pDst, int height) {
  return mahalanobis(OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar}, len, pDst, height);
}
KivStatus kivsMahDistMultiMix_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* const* ppVar, const Kiv64f* pSrc,
                                      int len, Kiv64f* pDst, int height) {
  return mahalanobis(OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar}, len, pDst, height);
}

KivStatus kivsBhatDist_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2, const Kiv32f* pVar2,
                           int len, Kiv32f* pResult) {
  return bhattacharyya({pMean1, pVar1, pMean2, pVar2}, len, pResult);
}
KivStatus kivsBhatDist_32f64f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2, const Kiv32f* pVar2,
                              int len, Kiv64f* pResult) {
  return bhattacharyya({pMean1, pVar1, pMean2, pVar2}, len, pResult);
}
KivStatus kivsBhatDistSLog_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2, const Kiv32f* pVar2,
                               int len, Kiv32f* pResult, Kiv32f sumLogVar1, Kiv32f sumLogVar2) {
  return bhattacharyya<Kiv32f>({pMean1, pVar1, pMean2, pVar2}, len, pResult, sumLogVar1, sumLogVar2);
}
KivStatus kivsBhatDistSLog_32f64f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2, const Kiv32f* pVar2,
                                  int len, Kiv64f* pResult, Kiv32f sumLogVar1, Kiv32f sumLogVar2) {
  return bhattacharyya<Kiv64f>({pMean1, pVar1, pMean2, pVar2}, len, pResult, sumLogVar1, sumLogVar2);
}

KivStatus kivsGaussianDist_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2, const Kiv32f* pVar2,
                               int len, Kiv32f* pResult, Kiv32f weight1, Kiv32f logTerm1, Kiv32f weight2,
                               Kiv32f logTerm2) {
  return merger_cost(pMean1, pVar1, pMean2, pVar2, len, pResult, weight1, logTerm1, weight2, logTerm2);
}
KivStatus kivsGaussianDist_64f(const Kiv64f* pMean1, const Kiv64f* pVar1, const Kiv64f* pMean2, const Kiv64f* pVar2,
                               int len, Kiv64f* pResult, Kiv64f weight1, Kiv64f logTerm1, Kiv64f weight2,
                               Kiv64f logTerm2) {
  return merger_cost(pMean1, pVar1, pMean2, pVar2, len, pResult, weight1, logTerm1, weight2, logTerm2);
}
}
