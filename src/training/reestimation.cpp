// Re-estimation of means, variances, weights and Gaussian constants from accumulated statistics.
#include "kivsr/training/reestimation.h"

#include <limits>

#include "diagonal_gaussian.h"
#include "frame/constants.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/status.h"
#include "frame/transform.h"
#include "vector/logarithm.h"

namespace kivsr {
namespace {

// Occupations: all of them are tested for a negative or NaN before one is tested for zero.
template <class T, class... Occupations>
KivStatus occupied(Occupations... occupations) {
  if (!((occupations >= T{0}) && ...)) return kivStatusNegOccupation;
  if (((occupations <= std::numeric_limits<T>::min()) || ...)) return kivStatusZeroOccupation;
  return kivStatusOk;
}

template <class T>
KivStatus update_mean(const T* accumulated, T* mean, int len, T occupation) {
  return run(first_failure(not_null(accumulated, mean), positive(len), occupied<T>(occupation)), [&] {
    const auto r = simd::Vec<T>::broadcast(T{1} / occupation);
    transform<T>(
        len, [=](auto a, auto m) { return m + a * r; }, mean, accumulated, static_cast<const T*>(mean));
  });
}

// Raises values to their floors (floor >= value, so NaN values stay) and notes whether one was raised.
template <class T>
auto flooring(bool* floored) {
  return [floored](simd::Vec<T> floor, simd::Vec<T> value) {
    const auto low = floor >= value;
    *floored = *floored || simd::any(low);
    return simd::select(low, floor, value);
  };
}

template <class T>
KivStatus update_variance(const T* mean_sum, const T* square_sum, const T* floor, T* variance, int len,
                          T mean_occupation, T variance_occupation) {
  return run(first_failure(not_null(mean_sum, square_sum, floor, variance), positive(len),
                           occupied<T>(mean_occupation, variance_occupation)),
             [&]() -> KivStatus {
               const auto r1 = simd::Vec<T>::broadcast(T{1} / mean_occupation);
               const auto r2 = simd::Vec<T>::broadcast(T{1} / variance_occupation);
               bool floored = false;
               const auto raise = flooring<T>(&floored);
               transform<T>(
                   len,
                   [=](auto sum, auto square, auto f) {
                     const auto m = sum * r1;
                     return raise(f, square * r2 - m * m);
                   },
                   variance, mean_sum, square_sum, floor);
               return floored ? kivStatusFloored : kivStatusOk;
             });
}

template <class T>
KivStatus update_weight(const T* accumulated, T* weight, int len, T* sum, T occupation, T floor) {
  return run(first_failure(not_null(accumulated, weight, sum), positive(len), occupied<T>(occupation)),
             [&]() -> KivStatus {
               const auto r = simd::Vec<T>::broadcast(T{1} / occupation);
               const auto lowest = simd::Vec<T>::broadcast(floor);
               bool floored = false;
               const auto raise = flooring<T>(&floored);
               transform<T>(
                   len, [=](auto a) { return raise(lowest, a * r); }, weight, accumulated);
               *sum = reduce_sum<T>(
                   len, [](auto total, auto w) { return total + w; }, weight);
               return floored ? kivStatusFloored : kivStatusOk;
             });
}

// len ln(2 pi) plus the sum of the logarithms of the variances. The two forms round differently: with inverse variances
// the product stays in double precision, with variances it is rounded to the type first.
template <Variances kForm, class T>
KivStatus gaussian_constant(const T* variance, int len, T* dst) {
  return run(first_failure(not_null(variance, dst), positive(len)), [&]() -> KivStatus {
    double total;
    const KivStatus status = sum_of_logarithms(variance, len, &total);
    const T log_sum = static_cast<T>(total);
    if (status == kivStatusInfResult) {
      *dst = Special<T>::infinity();
    } else if (status == kivStatusNanResult) {
      *dst = Special<T>::nan();
    } else if (kForm == Variances::kInverse) {
      *dst = static_cast<T>(len * kShortLogTwoPi - log_sum);
    } else {
      *dst = static_cast<T>(len * kShortLogTwoPi) + log_sum;
    }
    return status;
  });
}

template <class T>
KivStatus output_constant(const T* weight, const T* constant, T* dst, int len) {
  return run(first_failure(not_null(weight, constant, dst), positive(len)), [&] {
    const auto half = simd::Vec<T>::broadcast(T{0.5});
    transform<T>(
        len, [=](auto w, auto g) { return w - g * half; }, dst, weight, constant);
  });
}

// (weight1 a + weight2 b) / (weight1 + weight2). A zero or NaN sum of weights gives infinities by the sign of the
// numerator, NaN for none.
template <class T>
KivStatus weighted_sum(const T* a, const T* b, T* dst, int len, T weight1, T weight2) {
  return run(first_failure(not_null(a, b, dst), positive(len)), [&]() -> KivStatus {
    using V = simd::Vec<T>;
    const T sum = weight1 + weight2;
    if (sum > T{0} || sum < T{0}) {
      const T r = T{1} / sum;
      const V scale1 = V::broadcast(weight1 * r);
      const V scale2 = V::broadcast(r * weight2);
      transform<T>(
          len, [=](V x, V y) { return x * scale1 + y * scale2; }, dst, a, b);
      return kivStatusOk;
    }
    const V w1 = V::broadcast(weight1);
    const V w2 = V::broadcast(weight2);
    transform<T>(
        len,
        [=](V x, V y) {
          const V numerator = x * w1 + y * w2;
          const V not_positive = simd::select(numerator < V::zero(), V::broadcast(Special<T>::negative_infinity()),
                                              V::broadcast(Special<T>::nan()));
          return simd::select(numerator > V::zero(), V::broadcast(Special<T>::infinity()), not_positive);
        },
        dst, a, b);
    return kivStatusDivByZero;
  });
}

// The integer form: exact numerator and denominator, the quotient to nearest even and saturated.
KivStatus weighted_sum_of_words(const Kiv16s* a, const Kiv16s* b, Kiv16s* dst, int len, int weight1, int weight2) {
  return run(first_failure(not_null(a, b, dst), positive(len)), [&]() -> KivStatus {
    const NearestRounding nearest;
    const int sum = weight1 + weight2;
    for (int i = 0; i < len; ++i) {
      const std::int64_t numerator = std::int64_t{a[i]} * weight1 + std::int64_t{b[i]} * weight2;
      // Numerator and quotient stay far below 2^53, so the double quotient is a tie only where the true one is.
      dst[i] =
          sum == 0 ? std::numeric_limits<Kiv16s>::min() : round_saturated<Kiv16s>(static_cast<double>(numerator) / sum);
    }
    return sum == 0 ? kivStatusDivByZero : kivStatusOk;
  });
}

// (square mean - mean^2 val1) val2: the square in the element type, the rest in double precision.
template <class T>
KivStatus new_variance(const T* mean, const T* square, T* dst, int len, T val1, T val2) {
  return run(first_failure(not_null(mean, square, dst), positive(len)), [&] {
    const double v1 = val1;
    const double v2 = val2;
    for (int i = 0; i < len; ++i) {
      const T s = mean[i] * mean[i];
      dst[i] = static_cast<T>((square[i] - s * v1) * v2);
    }
  });
}

// The scaled integer form: exact squares, double precision, 2^-scaleFactor, to nearest even and saturated.
KivStatus new_variance(const Kiv32s* mean, const Kiv32s* square, Kiv32s* dst, int len, float val1, float val2,
                       int scale_factor) {
  return run(first_failure(not_null(mean, square, dst), positive(len)), [&] {
    const NearestRounding nearest;
    const double v1 = val1;
    const double v2 = val2;
    for (int i = 0; i < len; ++i) {
      const auto s = static_cast<double>(std::int64_t{mean[i]} * mean[i]);
      dst[i] = round_saturated<Kiv32s>((square[i] - s * v1) * v2 * double_scale(scale_factor));
    }
  });
}

template <class T>
KivStatus accumulate(const T* src, const T* mean, T* mean_sum, T* variance_sum, int len, T val) {
  return run(first_failure(not_null(src, mean, mean_sum, variance_sum), positive(len)), [&] {
    const auto weight = simd::Vec<T>::broadcast(val);
    transform<T>(
        len,
        [=](auto x, auto m, auto old) {
          const auto d = x - m;
          return old + weight * (d * d);
        },
        variance_sum, src, mean, static_cast<const T*>(variance_sum));
    transform<T>(
        len, [=](auto x, auto old) { return old + weight * x; }, mean_sum, src, static_cast<const T*>(mean_sum));
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsUpdateMean_32f(const Kiv32f* pMeanAcc, Kiv32f* pMean, int len, Kiv32f meanOcc) {
  return update_mean(pMeanAcc, pMean, len, meanOcc);
}
KivStatus kivsUpdateMean_64f(const Kiv64f* pMeanAcc, Kiv64f* pMean, int len, Kiv64f meanOcc) {
  return update_mean(pMeanAcc, pMean, len, meanOcc);
}
KivStatus kivsUpdateVar_32f(const Kiv32f* pMeanAcc, const Kiv32f* pVarAcc, const Kiv32f* pVarFloor, Kiv32f* pVar,
                            int len, Kiv32f meanOcc, Kiv32f varOcc) {
  return update_variance(pMeanAcc, pVarAcc, pVarFloor, pVar, len, meanOcc, varOcc);
}
KivStatus kivsUpdateVar_64f(const Kiv64f* pMeanAcc, const Kiv64f* pVarAcc, const Kiv64f* pVarFloor, Kiv64f* pVar,
                            int len, Kiv64f meanOcc, Kiv64f varOcc) {
  return update_variance(pMeanAcc, pVarAcc, pVarFloor, pVar, len, meanOcc, varOcc);
}
KivStatus kivsUpdateWeight_32f(const Kiv32f* pWeightAcc, Kiv32f* pWeight, int len, Kiv32f* pSumWeight, Kiv32f weightOcc,
                               Kiv32f weightFloor) {
  return update_weight(pWeightAcc, pWeight, len, pSumWeight, weightOcc, weightFloor);
}
KivStatus kivsUpdateWeight_64f(const Kiv64f* pWeightAcc, Kiv64f* pWeight, int len, Kiv64f* pSumWeight, Kiv64f weightOcc,
                               Kiv64f weightFloor) {
  return update_weight(pWeightAcc, pWeight, len, pSumWeight, weightOcc, weightFloor);
}

KivStatus kivsUpdateGConst_32f(const Kiv32f* pVar, int len, Kiv32f* pDst) {
  return gaussian_constant<Variances::kInverse>(pVar, len, pDst);
}
KivStatus kivsUpdateGConst_64f(const Kiv64f* pVar, int len, Kiv64f* pDst) {
  return gaussian_constant<Variances::kInverse>(pVar, len, pDst);
}
KivStatus kivsUpdateGConst_DirectVar_32f(const Kiv32f* pVar, int len, Kiv32f* pDst) {
  return gaussian_constant<Variances::kDirect>(pVar, len, pDst);
}
KivStatus kivsUpdateGConst_DirectVar_64f(const Kiv64f* pVar, int len, Kiv64f* pDst) {
  return gaussian_constant<Variances::kDirect>(pVar, len, pDst);
}

KivStatus kivsOutProbPreCalc_32f(const Kiv32f* pWeight, const Kiv32f* pGConst, Kiv32f* pVal, int len) {
  return output_constant(pWeight, pGConst, pVal, len);
}
KivStatus kivsOutProbPreCalc_64f(const Kiv64f* pWeight, const Kiv64f* pGConst, Kiv64f* pVal, int len) {
  return output_constant(pWeight, pGConst, pVal, len);
}
KivStatus kivsOutProbPreCalc_32f_I(Kiv32f* pWeightVal, const Kiv32f* pGConst, int len) {
  return output_constant<Kiv32f>(pWeightVal, pGConst, pWeightVal, len);
}
KivStatus kivsOutProbPreCalc_64f_I(Kiv64f* pWeightVal, const Kiv64f* pGConst, int len) {
  return output_constant<Kiv64f>(pWeightVal, pGConst, pWeightVal, len);
}

KivStatus kivsWeightedSum_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len, Kiv32f weight1,
                              Kiv32f weight2) {
  return weighted_sum(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KivStatus kivsWeightedSum_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len, Kiv64f weight1,
                              Kiv64f weight2) {
  return weighted_sum(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KivStatus kivsWeightedSum_16s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len, Kiv16s weight1,
                              Kiv16s weight2) {
  return weighted_sum_of_words(pSrc1, pSrc2, pDst, len, weight1, weight2);
}
KivStatus kivsWeightedSumHalf_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len, Kiv32f weight1,
                                  Kiv32f weight2) {
  return weighted_sum(pSrc1, pSrc2, pDst, len, weight1, 0.5F * weight2);
}
KivStatus kivsWeightedSumHalf_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len, Kiv64f weight1,
                                  Kiv64f weight2) {
  return weighted_sum(pSrc1, pSrc2, pDst, len, weight1, 0.5 * weight2);
}
KivStatus kivsWeightedSumHalf_16s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len, Kiv16s weight1,
                                  Kiv16s weight2) {
  return weighted_sum_of_words(pSrc1, pSrc2, pDst, len, 2 * weight1, weight2);
}

KivStatus kivsNewVar_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len, Kiv32f val1, Kiv32f val2) {
  return new_variance(pSrc1, pSrc2, pDst, len, val1, val2);
}
KivStatus kivsNewVar_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len, Kiv64f val1, Kiv64f val2) {
  return new_variance(pSrc1, pSrc2, pDst, len, val1, val2);
}
KivStatus kivsNewVar_32f_I(const Kiv32f* pSrc1, Kiv32f* pSrcDst2, int len, Kiv32f val1, Kiv32f val2) {
  return new_variance<Kiv32f>(pSrc1, pSrcDst2, pSrcDst2, len, val1, val2);
}
KivStatus kivsNewVar_64f_I(const Kiv64f* pSrc1, Kiv64f* pSrcDst2, int len, Kiv64f val1, Kiv64f val2) {
  return new_variance<Kiv64f>(pSrc1, pSrcDst2, pSrcDst2, len, val1, val2);
}
KivStatus kivsNewVar_32s_Sfs(const Kiv32s* pSrc1, const Kiv32s* pSrc2, Kiv32s* pDst, int len, Kiv32f val1, Kiv32f val2,
                             int scaleFactor) {
  return new_variance(pSrc1, pSrc2, pDst, len, val1, val2, scaleFactor);
}
KivStatus kivsNewVar_32s_ISfs(const Kiv32s* pSrc1, Kiv32s* pSrcDst2, int len, Kiv32f val1, Kiv32f val2,
                              int scaleFactor) {
  return new_variance(pSrc1, pSrcDst2, pSrcDst2, len, val1, val2, scaleFactor);
}

KivStatus kivsMeanVarAcc_32f(const Kiv32f* pSrc, const Kiv32f* pSrcMean, Kiv32f* pMeanAcc, Kiv32f* pVarAcc, int len,
                             Kiv32f val) {
  return accumulate(pSrc, pSrcMean, pMeanAcc, pVarAcc, len, val);
}
KivStatus kivsMeanVarAcc_64f(const Kiv64f* pSrc, const Kiv64f* pSrcMean, Kiv64f* pMeanAcc, Kiv64f* pVarAcc, int len,
                             Kiv64f val) {
  return accumulate(pSrc, pSrcMean, pMeanAcc, pVarAcc, len, val);
}
}
