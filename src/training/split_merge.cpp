// Splitting and merging of diagonal Gaussians.
#include "kivsr/training/split_merge.h"

#include "diagonal_gaussian.h"
#include "frame/constants.h"
#include "frame/elementary.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "vector/copy.h"

namespace kivsr {
namespace {

template <class T>
KivStatus split(T* mean1, const T* variance, T* mean2, T* variance2, int len, T value) {
  return run(first_failure(positive(len), not_null(mean1, variance, mean2, variance2)), [&] {
    const auto distance = simd::Vec<T>::broadcast(value);
    const T* const mean = mean1;
    if (variance2 != variance) copy(variance2, variance, len);
    transform<T>(
        len, [=](auto m, auto v) { return m - distance * simd::sqrt(v); }, mean2, mean, variance);
    transform<T>(
        len, [=](auto m, auto v) { return m + distance * simd::sqrt(v); }, mean1, mean, variance);
  });
}

// Same first and second moments as the pair. The determinant term subtracts the logarithms of the merged variances.
template <class T>
KivStatus merge(const T* mean1, const T* var1, const T* mean2, const T* var2, T* dst_mean, T* dst_var, int len,
                T* determinant, T weight1, T weight2) {
  return run(first_failure(positive(len), not_null(mean1, var1, mean2, var2, dst_mean, dst_var, determinant)),
             [&]() -> KivStatus {
               const double w1 = weight1;
               const double w2 = weight2;
               const double total = w1 + w2;
               double logs = 0.0;
               for (int i = 0; i < len; ++i) {
                 const double m1 = mean1[i];
                 const double m2 = mean2[i];
                 const double m = (w1 * m1 + w2 * m2) / total;
                 const double v = ((m1 * m1 + var1[i]) * w1 + (m2 * m2 + var2[i]) * w2) / total - m * m;
                 dst_mean[i] = static_cast<T>(m);
                 dst_var[i] = static_cast<T>(v);
                 if (v < 0.0) {
                   *determinant = Special<T>::nan();
                   return kivStatusNanResult;
                 }
                 if (!(v > 0.0)) {
                   *determinant = Special<T>::infinity();
                   return kivStatusInfResult;
                 }
                 logs -= natural_log(v);
               }
               *determinant = static_cast<T>(len * kShortLogTwoPi + logs);
               return kivStatusOk;
             });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsGaussianSplit_32f(Kiv32f* pMean1, const Kiv32f* pVar, Kiv32f* pMean2, Kiv32f* pVar2, int len,
                                Kiv32f value) {
  return split(pMean1, pVar, pMean2, pVar2, len, value);
}
KivStatus kivsGaussianSplit_64f(Kiv64f* pMean1, const Kiv64f* pVar, Kiv64f* pMean2, Kiv64f* pVar2, int len,
                                Kiv64f value) {
  return split(pMean1, pVar, pMean2, pVar2, len, value);
}
KivStatus kivsGaussianMerge_32f(const Kiv32f* pMean1, const Kiv32f* pVar1, const Kiv32f* pMean2, const Kiv32f* pVar2,
                                Kiv32f* pDstMean, Kiv32f* pDstVar, int len, Kiv32f* pDstDet, Kiv32f weight1,
                                Kiv32f weight2) {
  return merge(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, len, pDstDet, weight1, weight2);
}
KivStatus kivsGaussianMerge_64f(const Kiv64f* pMean1, const Kiv64f* pVar1, const Kiv64f* pMean2, const Kiv64f* pVar2,
                                Kiv64f* pDstMean, Kiv64f* pDstVar, int len, Kiv64f* pDstDet, Kiv64f weight1,
                                Kiv64f weight2) {
  return merge(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, len, pDstDet, weight1, weight2);
}
}
