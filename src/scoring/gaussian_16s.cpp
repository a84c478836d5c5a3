// Exports of 16-bit Gaussian scoring: one shape for each operation and layout, one line for each name.
#include "kivsr/scoring/gaussian_16s.h"

#include "gaussian_arithmetic_16s.h"
#include "gaussian_calls.h"

namespace kivsr {
namespace {

template <class R>
KivStatus mahalanobis(const Kiv16s* src, const Kiv16s* mean, const Kiv16s* var, int len, R* result, float scale) {
  return run(first_failure(not_null(src, mean, var, result), positive(len)), [&] {
    using Arithmetic = ScaledArithmetic<R>;
    [[maybe_unused]] const std::conditional_t<std::is_integral_v<R>, NearestRounding, std::monostate> nearest;
    const float distance = Arithmetic::distance(src, mean, var, len);
    *result = Arithmetic::result(simd::Vec<float>::broadcast(distance * scale)).first();
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

#define FRAMES_D2(name, A, keep)                                                                                     \
  KivStatus name(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar, int len, A::Result* pSrcDst, \
                 int height, A::Result val, int scaleFactor) {                                                       \
    return frames<keep>(A(scaleFactor), pSrc, step, pMean, pVar, len, pSrcDst, height, val);                         \
  }
#define FRAMES_D2L(name, A, keep)                                                                            \
  KivStatus name(const Kiv16s** ppSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len, A::Result* pSrcDst, \
                 int height, A::Result val, int scaleFactor) {                                               \
    return frames<keep>(A(scaleFactor), ppSrc, pMean, pVar, len, pSrcDst, height, val);                      \
  }
#define FRAMES_IDVAR_D2(name, A, keep)                                                                       \
  KivStatus name(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len, A::Result* pSrcDst, int height, \
                 A::Result val, int scaleFactor) {                                                           \
    return frames<keep>(A(scaleFactor), pSrc, step, pMean, nullptr, len, pSrcDst, height, val);              \
  }
#define FRAMES_IDVAR_D2L(name, A, keep)                                                                             \
  KivStatus name(const Kiv16s** ppSrc, const Kiv16s* pMean, int len, A::Result* pSrcDst, int height, A::Result val, \
                 int scaleFactor) {                                                                                 \
    return frames<keep>(A(scaleFactor), ppSrc, pMean, nullptr, len, pSrcDst, height, val);                          \
  }
#define MULTI_MIX_D2(name, A)                                                                                        \
  KivStatus name(const Kiv16s* pMean, const Kiv16s* pVar, int step, const Kiv16s* pSrc, int len, A::Result* pSrcDst, \
                 int height, int scaleFactor) {                                                                      \
    return multi_mix(A(scaleFactor), pMean, pVar, step, pSrc, len, pSrcDst, height);                                 \
  }
#define MULTI_MIX_D2L(name, A)                                                                                 \
  KivStatus name(const Kiv16s** ppMean, const Kiv16s** ppVar, const Kiv16s* pSrc, int len, A::Result* pSrcDst, \
                 int height, int scaleFactor) {                                                                \
    return multi_mix(A(scaleFactor), ppMean, ppVar, pSrc, len, pSrcDst, height);                               \
  }
#define MERGED_MIX_D2(name, A, keep)                                                              \
  KivStatus name(const Kiv16s* pMean, const Kiv16s* pVar, int step, const Kiv16s* pSrc, int len,  \
                 const A::Result* pVal, A::Result* pSrcDst, int height, int scaleFactor) {        \
    return merged_mix<keep>(A(scaleFactor), pMean, pVar, step, pSrc, len, pVal, pSrcDst, height); \
  }
#define MERGED_MIX_D2L(name, A, keep)                                                                             \
  KivStatus name(const Kiv16s** ppMean, const Kiv16s** ppVar, const Kiv16s* pSrc, int len, const A::Result* pVal, \
                 A::Result* pSrcDst, int height, int scaleFactor) {                                               \
    return merged_mix<keep>(A(scaleFactor), ppMean, ppVar, pSrc, len, pVal, pSrcDst, height);                     \
  }
#define MIXTURE_D2(name, A)                                                                                  \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int height, int step, int len, \
                 const A::Result* pVal, A::Result* pResult, int scaleFactor) {                               \
    return mixture(A(scaleFactor), pSrc, pMean, pVar, height, step, len, pVal, pResult);                     \
  }
#define MIXTURE_D2L(name, A)                                                                           \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s** ppMean, const Kiv16s** ppVar, int height, int len, \
                 const A::Result* pVal, A::Result* pResult, int scaleFactor) {                         \
    return mixture(A(scaleFactor), pSrc, ppMean, ppVar, height, len, pVal, pResult);                   \
  }
#define MIXTURE_IDVAR_D2(name, A)                                                                               \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s* pMean, int height, int step, int len, const A::Result* pVal, \
                 A::Result* pResult, int scaleFactor) {                                                         \
    return mixture(A(scaleFactor), pSrc, pMean, nullptr, height, step, len, pVal, pResult);                     \
  }
#define MIXTURE_IDVAR_D2L(name, A)                                                                      \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s** ppMean, int height, int len, const A::Result* pVal, \
                 A::Result* pResult, int scaleFactor) {                                                 \
    return mixture(A(scaleFactor), pSrc, ppMean, nullptr, height, len, pVal, pResult);                  \
  }
#define SINGLE(name, A, driver)                                                                            \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len, A::Result* pResult, \
                 A::Result val, int scaleFactor) {                                                         \
    return driver(A(scaleFactor), pSrc, pMean, pVar, len, pResult, val);                                   \
  }
#define SINGLE_IDVAR(name, A)                                                                         \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s* pMean, int len, A::Result* pResult, A::Result val, \
                 int scaleFactor) {                                                                   \
    return single(A(scaleFactor), pSrc, pMean, nullptr, len, pResult, val);                           \
  }
#define SINGLE_BLOCK(name, A)                                                                                     \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s** pBlockDVar, int len, A::Result* pResult, \
                 A::Result val, int scaleFactor) {                                                                \
    return single_block(A(scaleFactor), pSrc, pMean, pBlockDVar, len, pResult, val);                              \
  }

FRAMES_D2(kivsLogGauss_Scaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kScore)
FRAMES_D2L(kivsLogGauss_Scaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kScore)
FRAMES_D2(kivsLogGauss_LowScaled_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_D2L(kivsLogGauss_LowScaled_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_D2(kivsLogGauss_Low_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_D2L(kivsLogGauss_Low_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarScaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarScaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarLowScaled_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarLowScaled_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarLow_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarLow_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_Scaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_Scaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_Scaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_Scaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_Scaled_16s32f_D2, ScaledArithmetic<Kiv32f>)
MIXTURE_D2L(kivsLogGaussMixture_Scaled_16s32f_D2L, ScaledArithmetic<Kiv32f>)
FRAMES_D2(kivsLogGaussMax_LowScaled_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_LowScaled_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_LowScaled_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_LowScaled_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_LowScaled_16s32f_D2, LowArithmetic<Kiv32f>)
MIXTURE_D2L(kivsLogGaussMixture_LowScaled_16s32f_D2L, LowArithmetic<Kiv32f>)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVarScaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVarScaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVarScaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVarScaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kLogSum)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVarScaled_16s32f_D2, ScaledArithmetic<Kiv32f>)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVarScaled_16s32f_D2L, ScaledArithmetic<Kiv32f>)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVarLowScaled_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVarLowScaled_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVarLowScaled_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVarLowScaled_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kLogSum)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVarLowScaled_16s32f_D2, LowArithmetic<Kiv32f>)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVarLowScaled_16s32f_D2L, LowArithmetic<Kiv32f>)
FRAMES_D2(kivsLogGauss_16s32s_D2Sfs, ScaledArithmetic<Kiv32s>, Keep::kScore)
FRAMES_D2L(kivsLogGauss_16s32s_D2LSfs, ScaledArithmetic<Kiv32s>, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_16s32s_D2Sfs, ScaledArithmetic<Kiv32s>, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_16s32s_D2LSfs, ScaledArithmetic<Kiv32s>, Keep::kMaximum)
FRAMES_D2(kivsLogGauss_Low_16s32s_D2Sfs, LowArithmetic<Kiv32s>, Keep::kScore)
FRAMES_D2L(kivsLogGauss_Low_16s32s_D2LSfs, LowArithmetic<Kiv32s>, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_Low_16s32s_D2Sfs, LowArithmetic<Kiv32s>, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_Low_16s32s_D2LSfs, LowArithmetic<Kiv32s>, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_16s32s_D2Sfs, ScaledArithmetic<Kiv32s>, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_16s32s_D2LSfs, ScaledArithmetic<Kiv32s>, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_16s32s_D2Sfs, ScaledArithmetic<Kiv32s>, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_16s32s_D2LSfs, ScaledArithmetic<Kiv32s>, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarLow_16s32s_D2Sfs, LowArithmetic<Kiv32s>, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarLow_16s32s_D2LSfs, LowArithmetic<Kiv32s>, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVarLow_16s32s_D2Sfs, LowArithmetic<Kiv32s>, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVarLow_16s32s_D2LSfs, LowArithmetic<Kiv32s>, Keep::kMaximum)
MULTI_MIX_D2(kivsLogGaussMultiMix_Scaled_16s32f_D2, ScaledArithmetic<Kiv32f>)
MULTI_MIX_D2L(kivsLogGaussMultiMix_Scaled_16s32f_D2L, ScaledArithmetic<Kiv32f>)
MULTI_MIX_D2(kivsLogGaussMultiMix_16s32s_D2Sfs, ScaledArithmetic<Kiv32s>)
MULTI_MIX_D2L(kivsLogGaussMultiMix_16s32s_D2LSfs, ScaledArithmetic<Kiv32s>)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_Scaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_Scaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_16s32s_D2Sfs, ScaledArithmetic<Kiv32s>, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_16s32s_D2LSfs, ScaledArithmetic<Kiv32s>, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_Scaled_16s32f_D2, ScaledArithmetic<Kiv32f>, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_Scaled_16s32f_D2L, ScaledArithmetic<Kiv32f>, Keep::kLogSum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_LowScaled_16s32f_D2, LowArithmetic<Kiv32f>, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_LowScaled_16s32f_D2L, LowArithmetic<Kiv32f>, Keep::kLogSum)
SINGLE(kivsLogGaussSingle_Scaled_16s32f, ScaledArithmetic<Kiv32f>, single)
SINGLE(kivsLogGaussSingle_LowScaled_16s32f, LowArithmetic<Kiv32f>, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVarScaled_16s32f, ScaledArithmetic<Kiv32f>)
SINGLE_IDVAR(kivsLogGaussSingle_IdVarLowScaled_16s32f, LowArithmetic<Kiv32f>)
SINGLE(kivsLogGaussSingle_DirectVarScaled_16s32f, ScaledArithmetic<Kiv32f>, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVarScaled_16s32f, ScaledArithmetic<Kiv32f>)
SINGLE(kivsLogGaussSingle_16s32s_Sfs, ScaledArithmetic<Kiv32s>, single)
SINGLE(kivsLogGaussSingle_Low_16s32s_Sfs, LowArithmetic<Kiv32s>, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVar_16s32s_Sfs, ScaledArithmetic<Kiv32s>)
SINGLE_IDVAR(kivsLogGaussSingle_IdVarLow_16s32s_Sfs, LowArithmetic<Kiv32s>)
SINGLE(kivsLogGaussSingle_DirectVar_16s32s_Sfs, ScaledArithmetic<Kiv32s>, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVar_16s32s_Sfs, ScaledArithmetic<Kiv32s>)

KivStatus kivsMahDistSingle_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                   Kiv32f* pResult) {
  return mahalanobis(pSrc, pMean, pVar, len, pResult, 1.0F);
}
KivStatus kivsMahDistSingle_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                       Kiv32s* pResult, int scaleFactor) {
  return mahalanobis(pSrc, pMean, pVar, len, pResult, clamped_scale(scaleFactor));
}

#undef FRAMES_D2
#undef FRAMES_D2L
#undef FRAMES_IDVAR_D2
#undef FRAMES_IDVAR_D2L
#undef MULTI_MIX_D2
#undef MULTI_MIX_D2L
#undef MERGED_MIX_D2
#undef MERGED_MIX_D2L
#undef MIXTURE_D2
#undef MIXTURE_D2L
#undef MIXTURE_IDVAR_D2
#undef MIXTURE_IDVAR_D2L
#undef SINGLE
#undef SINGLE_IDVAR
#undef SINGLE_BLOCK
}
