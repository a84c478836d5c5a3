// Means and variances of the columns of a matrix. The rows are added by statistics_column_sums.h; here is what the sums
// become. The formulas differ between functions on purpose: each one rounds as its documentation says.
#include "arithmetic.h"
#include "conversion.h"
#include "copy.h"
#include "frame/matrix_checks.h"
#include "frame/rounding_mode.h"
#include "frame/scale.h"
#include "frame/scratch.h"
#include "kivsr/vector/statistics.h"
#include "statistics_column_sums.h"

namespace kivsr {
namespace {

// --- orders of the checks, one for each group of siblings ---------------------

template <class Rows, class... P>
KivStatus step_then_pointers_then_sizes(Rows rows, int height, int least_height, int width, const P*... pointers) {
  return first_failure(step_covers(rows, width), not_null(array_of(rows), pointers...), positive(width),
                       require(height >= least_height, kivStatusBadSize));
}

template <class Rows, class... P>
KivStatus pointers_then_sizes_then_step(Rows rows, int height, int width, const P*... pointers) {
  return first_failure(not_null(array_of(rows), pointers...), positive(width), require(height >= 2, kivStatusBadSize),
                       step_covers(rows, width));
}

template <class Rows, class... P>
KivStatus pointers_then_step_then_sizes(Rows rows, int height, int width, const P*... pointers) {
  return first_failure(not_null(array_of(rows), pointers...), step_covers(rows, width), positive(width, height));
}

float single_reciprocal(int n) { return static_cast<float>(1.0 / n); }

// --- floating-point data ------------------------------------------------------

template <class Rows>
KivStatus mean(Rows rows, int height, Kiv32f* dst, int width) {
  return run(step_then_pointers_then_sizes(rows, height, 1, width, dst), [&] {
    const float factor = single_reciprocal(height);
    sum_columns(Values<float>{}, rows, height, width, FromZero{},
                [&](auto first, auto count, auto* sum) { multiply_by_constant(dst + first, sum, factor, count); });
  });
}

template <class Rows>
KivStatus variance(Rows rows, int height, const Kiv32f* mean, Kiv32f* dst, int width) {
  return run(step_then_pointers_then_sizes(rows, height, 2, width, mean, dst), [&] {
    const auto minus_height = simd::Vec<float>::broadcast(-static_cast<float>(height));
    const float factor = single_reciprocal(height - 1);
    sum_columns(
        Squares<float>{}, rows, height, width,
        [&](auto first, auto count, auto* sum) {
          transform<float>(
              count, [=](auto m) { return minus_height * m * m; }, sum, mean + first);
        },
        [&](auto first, auto count, auto* sum) { multiply_by_constant(dst + first, sum, factor, count); });
  });
}

template <class Rows>
KivStatus mean_variance(Rows rows, int height, Kiv32f* mean, Kiv32f* variance, int width) {
  return run(pointers_then_sizes_then_step(rows, height, width, mean, variance), [&] {
    using V = simd::Vec<float>;
    const float mean_factor = single_reciprocal(height);
    const auto variance_factor = V::broadcast(single_reciprocal(height - 1));
    const auto rows_added = V::broadcast(static_cast<float>(height));
    sum_columns(ValuesAndSquares<float>{}, rows, height, width, FromZero{},
                [&](auto first, auto count, const auto* sum, const auto* squares) {
                  multiply_by_constant(mean + first, sum, mean_factor, count);
                  transform<float>(
                      count, [=](auto s, auto m) { return (s - rows_added * m * m) * variance_factor; },
                      variance + first, squares, static_cast<const float*>(mean + first));
                });
  });
}

template <class T, class Rows>
KivStatus weighted_mean(Rows rows, const T* weights, int height, T* dst, int width) {
  return run(pointers_then_step_then_sizes(rows, height, width, weights, dst), [&] {
    sum_columns(WeightedValues<T>{weights}, rows, height, width, FromZero{},
                [&](auto first, auto count, const auto* sum) { copy(dst + first, sum, count); });
  });
}

constexpr auto kMinusSquareOfMean = [](auto squares, auto m) { return squares - m * m; };

template <class T, class Rows>
KivStatus weighted_variance(Rows rows, const T* weights, int height, const T* mean, T* dst, int width) {
  return run(pointers_then_step_then_sizes(rows, height, width, weights, mean, dst), [&] {
    sum_columns(WeightedSquares<T>{weights}, rows, height, width, FromZero{},
                [&](auto first, auto count, const auto* squares) {
                  transform<T>(count, kMinusSquareOfMean, dst + first, squares, mean + first);
                });
  });
}

template <class T, class Rows>
KivStatus weighted_mean_variance(Rows rows, const T* weights, int height, T* mean, T* variance, int width) {
  return run(pointers_then_step_then_sizes(rows, height, width, weights, mean, variance), [&] {
    sum_columns(WeightedValuesAndSquares<T>{weights}, rows, height, width, FromZero{},
                [&](auto first, auto count, const auto* sum, const auto* squares) {
                  copy(mean + first, sum, count);
                  transform<T>(count, kMinusSquareOfMean, variance + first, squares, sum);
                });
  });
}

// --- 16-bit data --------------------------------------------------------------

template <class Rows>
KivStatus mean_16_bit(Rows rows, int height, Kiv16s* dst, int width) {
  return run(step_then_pointers_then_sizes(rows, height, 1, width, dst), [&] {
    Scratch<float> means(static_cast<std::size_t>(width) + 8);
    if (!means) return kivStatusNoMemory;
    const NearestRounding nearest;
    const float factor = 1.0F / static_cast<float>(height);
    sum_columns(Values<float>{}, rows, height, width, FromZero{}, [&](auto first, auto count, auto* sum) {
      multiply_by_constant(means.data() + first, sum, factor, count);
    });
    convert_to_integer(dst, means.data(), width, kivRndNear, 0);
    return kivStatusOk;
  });
}

// The variance about the caller's mean: an exact integer, divided once.
template <class Rows>
KivStatus variance_16_bit(Rows rows, int height, const Kiv16s* mean, Kiv16s* dst, int width, int scale_factor) {
  return run(step_then_pointers_then_sizes(rows, height, 2, width, mean, dst), [&] {
    const NearestRounding nearest;
    const double scale = double_scale(scale_factor);
    sum_columns_exactly(Squares<double>{}, rows, height, width,
                        [&](auto first, auto count, const std::int64_t* squares) {
                          for (std::ptrdiff_t c = 0; c < count; ++c) {
                            const std::int64_t m = mean[first + c];
                            const auto deviations = static_cast<double>(squares[c] - height * m * m);
                            dst[first + c] = round_saturated<Kiv16s>(deviations / (height - 1) * scale);
                          }
                        });
  });
}

// Sum of the squared deviations from sum / height. With sum = q * height + r it is the integer squares - q * (sum + r)
// less r * r / height: no cancellation, and 0 for a constant column.
double squared_deviations(std::int64_t sum, std::int64_t squares, std::int64_t height) {
  const std::int64_t q = sum / height;
  const std::int64_t r = sum % height;
  return static_cast<double>(squares - q * (sum + r)) -
         static_cast<double>(r * r) * (1.0 / static_cast<double>(height));
}

template <class Mean, class Variance, class Rows>
KivStatus mean_variance_16_bit(Rows rows, int height, Mean* mean, Variance* variance, int width, int scale_factor) {
  return run(pointers_then_sizes_then_step(rows, height, width, mean, variance), [&] {
    const NearestRounding nearest;
    const double mean_factor = 1.0 / height;
    const double variance_factor = 1.0 / (height - 1) * double_scale(scale_factor);
    sum_columns_exactly(ValuesAndSquares<double>{}, rows, height, width,
                        [&](auto first, auto count, const std::int64_t* sum, const std::int64_t* squares) {
                          for (std::ptrdiff_t c = 0; c < count; ++c) {
                            const double deviations = squared_deviations(sum[c], squares[c], height);
                            mean[first + c] = round_saturated<Mean>(static_cast<double>(sum[c]) * mean_factor);
                            variance[first + c] = round_saturated<Variance>(deviations * variance_factor);
                          }
                        });
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

KivStatus kivsMeanColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean, int width) {
  return mean(StepRows{pSrc, step}, height, pDstMean, width);
}
KivStatus kivsMeanColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pDstMean, int width) {
  return mean(PointerRows{ppSrc}, height, pDstMean, width);
}
KivStatus kivsMeanColumn_16s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, int width) {
  return mean_16_bit(StepRows{pSrc, step}, height, pDstMean, width);
}
KivStatus kivsMeanColumn_16s_D2L(const Kiv16s* const* ppSrc, int height, Kiv16s* pDstMean, int width) {
  return mean_16_bit(PointerRows{ppSrc}, height, pDstMean, width);
}

KivStatus kivsVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, const Kiv32f* pSrcMean, Kiv32f* pDstVar,
                               int width) {
  return variance(StepRows{pSrc, step}, height, pSrcMean, pDstVar, width);
}
KivStatus kivsVarColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, const Kiv32f* pSrcMean, Kiv32f* pDstVar,
                                int width) {
  return variance(PointerRows{ppSrc}, height, pSrcMean, pDstVar, width);
}
KivStatus kivsVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, const Kiv16s* pSrcMean, Kiv16s* pDstVar,
                                  int width, int scaleFactor) {
  return variance_16_bit(StepRows{pSrc, step}, height, pSrcMean, pDstVar, width, scaleFactor);
}
KivStatus kivsVarColumn_16s_D2LSfs(const Kiv16s* const* ppSrc, int height, const Kiv16s* pSrcMean, Kiv16s* pDstVar,
                                   int width, int scaleFactor) {
  return variance_16_bit(PointerRows{ppSrc}, height, pSrcMean, pDstVar, width, scaleFactor);
}

KivStatus kivsMeanVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean, Kiv32f* pDstVar,
                                   int width) {
  return mean_variance(StepRows{pSrc, step}, height, pDstMean, pDstVar, width);
}
KivStatus kivsMeanVarColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pDstMean, Kiv32f* pDstVar,
                                    int width) {
  return mean_variance(PointerRows{ppSrc}, height, pDstMean, pDstVar, width);
}
KivStatus kivsMeanVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, Kiv16s* pDstVar,
                                      int width, int scaleFactor) {
  return mean_variance_16_bit(StepRows{pSrc, step}, height, pDstMean, pDstVar, width, scaleFactor);
}
KivStatus kivsMeanVarColumn_16s_D2LSfs(const Kiv16s* const* ppSrc, int height, Kiv16s* pDstMean, Kiv16s* pDstVar,
                                       int width, int scaleFactor) {
  return mean_variance_16_bit(PointerRows{ppSrc}, height, pDstMean, pDstVar, width, scaleFactor);
}
KivStatus kivsMeanVarColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv32s* pDstMean, Kiv32s* pDstVar,
                                         int width, int scaleFactor) {
  return mean_variance_16_bit(StepRows{pSrc, step}, height, pDstMean, pDstVar, width, scaleFactor);
}
KivStatus kivsMeanVarColumn_16s32s_D2LSfs(const Kiv16s* const* ppSrc, int height, Kiv32s* pDstMean, Kiv32s* pDstVar,
                                          int width, int scaleFactor) {
  return mean_variance_16_bit(PointerRows{ppSrc}, height, pDstMean, pDstVar, width, scaleFactor);
}
KivStatus kivsMeanVarColumn_16s16s32s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, Kiv32s* pDstVar,
                                         int width) {
  return mean_variance_16_bit(StepRows{pSrc, step}, height, pDstMean, pDstVar, width, 0);
}
KivStatus kivsMeanVarColumn_16s16s32s_D2L(const Kiv16s* const* ppSrc, int height, Kiv16s* pDstMean, Kiv32s* pDstVar,
                                          int width) {
  return mean_variance_16_bit(PointerRows{ppSrc}, height, pDstMean, pDstVar, width, 0);
}

KivStatus kivsWeightedMeanColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height, Kiv32f* pDstMean,
                                        int width) {
  return weighted_mean(StepRows{pSrc, step}, pWgt, height, pDstMean, width);
}
KivStatus kivsWeightedMeanColumn_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pWgt, int height, Kiv32f* pDstMean,
                                         int width) {
  return weighted_mean(PointerRows{ppSrc}, pWgt, height, pDstMean, width);
}
KivStatus kivsWeightedMeanColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height, Kiv64f* pDstMean,
                                        int width) {
  return weighted_mean(StepRows{pSrc, step}, pWgt, height, pDstMean, width);
}
KivStatus kivsWeightedMeanColumn_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pWgt, int height, Kiv64f* pDstMean,
                                         int width) {
  return weighted_mean(PointerRows{ppSrc}, pWgt, height, pDstMean, width);
}

KivStatus kivsWeightedVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                       const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width) {
  return weighted_variance(StepRows{pSrc, step}, pWgt, height, pSrcMean, pDstVar, width);
}
KivStatus kivsWeightedVarColumn_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pWgt, int height,
                                        const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width) {
  return weighted_variance(PointerRows{ppSrc}, pWgt, height, pSrcMean, pDstVar, width);
}
KivStatus kivsWeightedVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                       const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width) {
  return weighted_variance(StepRows{pSrc, step}, pWgt, height, pSrcMean, pDstVar, width);
}
KivStatus kivsWeightedVarColumn_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pWgt, int height,
                                        const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width) {
  return weighted_variance(PointerRows{ppSrc}, pWgt, height, pSrcMean, pDstVar, width);
}

KivStatus kivsWeightedMeanVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                           Kiv32f* pDstMean, Kiv32f* pDstVar, int width) {
  return weighted_mean_variance(StepRows{pSrc, step}, pWgt, height, pDstMean, pDstVar, width);
}
KivStatus kivsWeightedMeanVarColumn_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pWgt, int height,
                                            Kiv32f* pDstMean, Kiv32f* pDstVar, int width) {
  return weighted_mean_variance(PointerRows{ppSrc}, pWgt, height, pDstMean, pDstVar, width);
}
KivStatus kivsWeightedMeanVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                           Kiv64f* pDstMean, Kiv64f* pDstVar, int width) {
  return weighted_mean_variance(StepRows{pSrc, step}, pWgt, height, pDstMean, pDstVar, width);
}
KivStatus kivsWeightedMeanVarColumn_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pWgt, int height,
                                            Kiv64f* pDstMean, Kiv64f* pDstVar, int width) {
  return weighted_mean_variance(PointerRows{ppSrc}, pWgt, height, pDstMean, pDstVar, width);
}
}
