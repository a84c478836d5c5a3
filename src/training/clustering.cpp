// Statistics of decision-tree state clustering (S. J. Young, J. J. Odell, P. C. Woodland: Tree-based state tying for
// high accuracy acoustic modelling, 1994).
#include "kivsr/training/clustering.h"

#include "diagonal_gaussian.h"
#include "frame/constants.h"
#include "frame/elementary.h"
#include "frame/status.h"
#include "frame/transform.h"

namespace kivsr {
namespace {

template <Variances kForm, class T>
KivStatus accumulate(const T* mean, const T* variance, T* sum, T* square, int len, T occupation) {
  return run(first_failure(not_null(mean, variance, sum, square), positive(len)), [&] {
    using V = simd::Vec<T>;
    const V occ = V::broadcast(occupation);
    const V one = V::broadcast(T{1});
    transform<T>(
        len,
        [=](V m, V v) {
          if constexpr (kForm == Variances::kInverse) {
            return (one / v + m * m) * occ;
          } else {
            return (m * m + v) * occ;
          }
        },
        square, mean, variance);
    transform<T>(
        len, [=](V m) { return m * occ; }, sum, mean);
  });
}

// Log-likelihood of the pool under its own Gaussian: -occ/2 (len (1 + ln 2 pi) + sum of ln variance), through
// t = occ^2 times the variance. A negative t stops at once, a zero t only when no negative follows.
template <class T>
KivStatus likelihood(const T* sum, const T* square, int len, double* dst, double occupation) {
  if (const KivStatus s =
          first_failure(not_null(sum, square, dst), positive(len), require(occupation >= 0.0, kivStatusNegOccupation));
      s != kivStatusOk) {
    return s;
  }
  if (occupation == 0.0) {
    *dst = -1e10;
    return kivStatusZeroOccupation;
  }
  const double log_occupation = natural_log(occupation);
  const double constant = len * (log_occupation - 1.0 - kLogTwoPi + log_occupation);
  double logs = 0.0;
  bool zero_met = false;
  for (int i = 0; i < len; ++i) {
    const double s = sum[i];
    const double t = square[i] * occupation - s * s;
    if (!(t >= 0.0)) {
      *dst = Special<double>::nan();
      return kivStatusNanResult;
    }
    if (t == 0.0) {
      zero_met = true;
    } else {
      logs += natural_log(t);
    }
  }
  *dst = zero_met ? Special<double>::negative_infinity() : occupation * 0.5 * (constant - logs);
  return zero_met ? kivStatusInfResult : kivStatusOk;
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsDcsClustLAccumulate_32f(const Kiv32f* pMean, const Kiv32f* pVar, Kiv32f* pDstSum, Kiv32f* pDstSqr,
                                      int len, Kiv32f occ) {
  return accumulate<Variances::kInverse>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}
KivStatus kivsDcsClustLAccumulate_64f(const Kiv64f* pMean, const Kiv64f* pVar, Kiv64f* pDstSum, Kiv64f* pDstSqr,
                                      int len, Kiv64f occ) {
  return accumulate<Variances::kInverse>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}
KivStatus kivsDcsClustLAccumulate_DirectVar_32f(const Kiv32f* pMean, const Kiv32f* pVar, Kiv32f* pDstSum,
                                                Kiv32f* pDstSqr, int len, Kiv32f occ) {
  return accumulate<Variances::kDirect>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}
KivStatus kivsDcsClustLAccumulate_DirectVar_64f(const Kiv64f* pMean, const Kiv64f* pVar, Kiv64f* pDstSum,
                                                Kiv64f* pDstSqr, int len, Kiv64f occ) {
  return accumulate<Variances::kDirect>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}
KivStatus kivsDcsClustLCompute_32f64f(const Kiv32f* pSum, const Kiv32f* pSqr, int len, Kiv64f* pDst, Kiv32f occ) {
  return likelihood(pSum, pSqr, len, pDst, occ);
}
KivStatus kivsDcsClustLCompute_64f(const Kiv64f* pSum, const Kiv64f* pSqr, int len, Kiv64f* pDst, Kiv64f occ) {
  return likelihood(pSum, pSqr, len, pDst, occ);
}
}
