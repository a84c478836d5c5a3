// Exports of 16-bit Gaussian scoring. Operations with many members have a shape: parameters, checks and loop
// (gaussian.h) once, and a line for each name. The inner loop is gaussian_arithmetic_16s.h; the names with Low compute
// the same.
#include "kivsr/scoring/gaussian_16s.h"

#include "gaussian.h"
#include "gaussian_arithmetic_16s.h"
#include "gaussian_single.h"

namespace kivsr {
namespace {

template <class R>
KivStatus mahalanobis(const Kiv16s* src, const Kiv16s* mean, const Kiv16s* var, int len, R* result, float scale) {
  return run(first_failure(not_null(src, mean, var, result), positive(len)), [&] {
    [[maybe_unused]] const std::conditional_t<std::is_integral_v<R>, NearestRounding, std::monostate> nearest;
    const float distance = WordArithmetic<R>::distance(src, mean, var, len);
    *result = WordArithmetic<R>::result(simd::Vec<float>::broadcast(distance * scale)).first();
  });
}

}  // namespace
}  // namespace kivsr

extern "C" {
using namespace kivsr;

#define FRAMES_D2(name, R, keep)                                                                                      \
  KivStatus name(const Kiv16s* pSrc, int step, const Kiv16s* pMean, const Kiv16s* pVar, int len, R* pSrcDst,          \
                 int height, R val, int scaleFactor) {                                                                \
    return score_frames<keep>(WordArithmetic<R>(scaleFactor), StepRows{pSrc, step}, OneRow{pMean}, OneRow{pVar}, len, \
                              pSrcDst, height, val);                                                                  \
  }
#define FRAMES_D2L(name, R, keep)                                                                                      \
  KivStatus name(const Kiv16s* const* ppSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len, R* pSrcDst, int height, \
                 R val, int scaleFactor) {                                                                             \
    return score_frames<keep>(WordArithmetic<R>(scaleFactor), PointerRows{ppSrc}, OneRow{pMean}, OneRow{pVar}, len,    \
                              pSrcDst, height, val);                                                                   \
  }
#define FRAMES_IDVAR_D2(name, R, keep)                                                                              \
  KivStatus name(const Kiv16s* pSrc, int step, const Kiv16s* pMean, int len, R* pSrcDst, int height, R val,         \
                 int scaleFactor) {                                                                                 \
    return score_frames<keep>(WordArithmetic<R>(scaleFactor), StepRows{pSrc, step}, OneRow{pMean}, UnitRows(), len, \
                              pSrcDst, height, val);                                                                \
  }
#define FRAMES_IDVAR_D2L(name, R, keep)                                                                           \
  KivStatus name(const Kiv16s* const* ppSrc, const Kiv16s* pMean, int len, R* pSrcDst, int height, R val,         \
                 int scaleFactor) {                                                                               \
    return score_frames<keep>(WordArithmetic<R>(scaleFactor), PointerRows{ppSrc}, OneRow{pMean}, UnitRows(), len, \
                              pSrcDst, height, val);                                                              \
  }
#define SINGLE(name, R, score)                                                                            \
  KivStatus name(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len, R* pResult, R val, \
                 int scaleFactor) {                                                                       \
    return score(WordArithmetic<R>(scaleFactor), pSrc, pMean, pVar, len, pResult, val);                   \
  }

FRAMES_D2(kivsLogGauss_Scaled_16s32f_D2, Kiv32f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_Scaled_16s32f_D2L, Kiv32f, Keep::kScore)
FRAMES_D2(kivsLogGauss_LowScaled_16s32f_D2, Kiv32f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_LowScaled_16s32f_D2L, Kiv32f, Keep::kScore)
FRAMES_D2(kivsLogGauss_Low_16s32f_D2, Kiv32f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_Low_16s32f_D2L, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarScaled_16s32f_D2, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarScaled_16s32f_D2L, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarLowScaled_16s32f_D2, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarLowScaled_16s32f_D2L, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarLow_16s32f_D2, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarLow_16s32f_D2L, Kiv32f, Keep::kScore)
FRAMES_D2(kivsLogGauss_16s32s_D2Sfs, Kiv32s, Keep::kScore)
FRAMES_D2L(kivsLogGauss_16s32s_D2LSfs, Kiv32s, Keep::kScore)
FRAMES_D2(kivsLogGauss_Low_16s32s_D2Sfs, Kiv32s, Keep::kScore)
FRAMES_D2L(kivsLogGauss_Low_16s32s_D2LSfs, Kiv32s, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_16s32s_D2Sfs, Kiv32s, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_16s32s_D2LSfs, Kiv32s, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVarLow_16s32s_D2Sfs, Kiv32s, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVarLow_16s32s_D2LSfs, Kiv32s, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_Scaled_16s32f_D2, Kiv32f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_Scaled_16s32f_D2L, Kiv32f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussMax_LowScaled_16s32f_D2, Kiv32f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_LowScaled_16s32f_D2L, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVarScaled_16s32f_D2, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVarScaled_16s32f_D2L, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVarLowScaled_16s32f_D2, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVarLowScaled_16s32f_D2L, Kiv32f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussMax_16s32s_D2Sfs, Kiv32s, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_16s32s_D2LSfs, Kiv32s, Keep::kMaximum)
FRAMES_D2(kivsLogGaussMax_Low_16s32s_D2Sfs, Kiv32s, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_Low_16s32s_D2LSfs, Kiv32s, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_16s32s_D2Sfs, Kiv32s, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_16s32s_D2LSfs, Kiv32s, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVarLow_16s32s_D2Sfs, Kiv32s, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVarLow_16s32s_D2LSfs, Kiv32s, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_Scaled_16s32f_D2, Kiv32f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_Scaled_16s32f_D2L, Kiv32f, Keep::kLogSum)
FRAMES_D2(kivsLogGaussAdd_LowScaled_16s32f_D2, Kiv32f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_LowScaled_16s32f_D2L, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVarScaled_16s32f_D2, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVarScaled_16s32f_D2L, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVarLowScaled_16s32f_D2, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVarLowScaled_16s32f_D2L, Kiv32f, Keep::kLogSum)
SINGLE(kivsLogGaussSingle_Scaled_16s32f, Kiv32f, score_weighted)
SINGLE(kivsLogGaussSingle_LowScaled_16s32f, Kiv32f, score_weighted)
SINGLE(kivsLogGaussSingle_DirectVarScaled_16s32f, Kiv32f, score_direct)
SINGLE(kivsLogGaussSingle_16s32s_Sfs, Kiv32s, score_weighted)
SINGLE(kivsLogGaussSingle_Low_16s32s_Sfs, Kiv32s, score_weighted)
SINGLE(kivsLogGaussSingle_DirectVar_16s32s_Sfs, Kiv32s, score_direct)

#undef FRAMES_D2
#undef FRAMES_D2L
#undef FRAMES_IDVAR_D2
#undef FRAMES_IDVAR_D2L
#undef SINGLE

KivStatus kivsLogGaussMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step, const Kiv16s* pSrc,
                                                int len, Kiv32f* pSrcDst, int height, int scaleFactor) {
  return score_gaussians<Keep::kScore>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step},
                                       StepRows{pVar, step}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_Scaled_16s32f_D2L(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                 const Kiv16s* pSrc, int len, Kiv32f* pSrcDst, int height,
                                                 int scaleFactor) {
  return score_gaussians<Keep::kScore>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean},
                                       PointerRows{ppVar}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_16s32s_D2Sfs(const Kiv16s* pMean, const Kiv16s* pVar, int step, const Kiv16s* pSrc,
                                            int len, Kiv32s* pSrcDst, int height, int scaleFactor) {
  return score_gaussians<Keep::kScore>(WordArithmetic<Kiv32s>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step},
                                       StepRows{pVar, step}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_16s32s_D2LSfs(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                             const Kiv16s* pSrc, int len, Kiv32s* pSrcDst, int height,
                                             int scaleFactor) {
  return score_gaussians<Keep::kScore>(WordArithmetic<Kiv32s>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean},
                                       PointerRows{ppVar}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                   const Kiv16s* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                   int height, int scaleFactor) {
  return score_gaussians<Keep::kMaximum>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step},
                                         StepRows{pVar, step}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                    const Kiv16s* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                    int height, int scaleFactor) {
  return score_gaussians<Keep::kMaximum>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean},
                                         PointerRows{ppVar}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussMaxMultiMix_16s32s_D2Sfs(const Kiv16s* pMean, const Kiv16s* pVar, int step, const Kiv16s* pSrc,
                                               int len, const Kiv32s* pVal, Kiv32s* pSrcDst, int height,
                                               int scaleFactor) {
  return score_gaussians<Keep::kMaximum>(WordArithmetic<Kiv32s>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step},
                                         StepRows{pVar, step}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussMaxMultiMix_16s32s_D2LSfs(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                const Kiv16s* pSrc, int len, const Kiv32s* pVal, Kiv32s* pSrcDst,
                                                int height, int scaleFactor) {
  return score_gaussians<Keep::kMaximum>(WordArithmetic<Kiv32s>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean},
                                         PointerRows{ppVar}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussAddMultiMix_Scaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                   const Kiv16s* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                   int height, int scaleFactor) {
  return score_gaussians<Keep::kLogSum>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step},
                                        StepRows{pVar, step}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                    const Kiv16s* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                    int height, int scaleFactor) {
  return score_gaussians<Keep::kLogSum>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean},
                                        PointerRows{ppVar}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Kiv16s* pMean, const Kiv16s* pVar, int step,
                                                      const Kiv16s* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                      int height, int scaleFactor) {
  return score_gaussians<Keep::kLogSum>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step},
                                        StepRows{pVar, step}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Kiv16s* const* ppMean, const Kiv16s* const* ppVar,
                                                       const Kiv16s* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst,
                                                       int height, int scaleFactor) {
  return score_gaussians<Keep::kLogSum>(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean},
                                        PointerRows{ppVar}, len, pVal, pSrcDst, height);
}
KivStatus kivsLogGaussMixture_Scaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int height,
                                               int step, int len, const Kiv32f* pVal, Kiv32f* pResult,
                                               int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step}, StepRows{pVar, step},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_Scaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean,
                                                const Kiv16s* const* ppVar, int height, int len, const Kiv32f* pVal,
                                                Kiv32f* pResult, int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_LowScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar,
                                                  int height, int step, int len, const Kiv32f* pVal, Kiv32f* pResult,
                                                  int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step}, StepRows{pVar, step},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_LowScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean,
                                                   const Kiv16s* const* ppVar, int height, int len, const Kiv32f* pVal,
                                                   Kiv32f* pResult, int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVarScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int height, int step,
                                                    int len, const Kiv32f* pVal, Kiv32f* pResult, int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step}, UnitRows(), height,
                       len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVarScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean, int height,
                                                     int len, const Kiv32f* pVal, Kiv32f* pResult, int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean}, UnitRows(), height, len,
                       pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Kiv16s* pSrc, const Kiv16s* pMean, int height, int step,
                                                       int len, const Kiv32f* pVal, Kiv32f* pResult, int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, StepRows{pMean, step}, UnitRows(), height,
                       len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Kiv16s* pSrc, const Kiv16s* const* ppMean, int height,
                                                        int len, const Kiv32f* pVal, Kiv32f* pResult, int scaleFactor) {
  return score_mixture(WordArithmetic<Kiv32f>(scaleFactor), OneRow{pSrc}, PointerRows{ppMean}, UnitRows(), height, len,
                       pVal, pResult);
}
KivStatus kivsLogGaussSingle_IdVarScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, int len, Kiv32f* pResult,
                                                Kiv32f val, int scaleFactor) {
  return score_identity(WordArithmetic<Kiv32f>(scaleFactor), pSrc, pMean, len, pResult, val);
}
KivStatus kivsLogGaussSingle_IdVarLowScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, int len, Kiv32f* pResult,
                                                   Kiv32f val, int scaleFactor) {
  return score_identity(WordArithmetic<Kiv32f>(scaleFactor), pSrc, pMean, len, pResult, val);
}
KivStatus kivsLogGaussSingle_BlockDVarScaled_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean,
                                                    const Kiv16s* const* pBlockDVar, int len, Kiv32f* pResult,
                                                    Kiv32f val, int scaleFactor) {
  return score_block(WordArithmetic<Kiv32f>(scaleFactor), pSrc, pMean, pBlockDVar, len, pResult, val);
}
KivStatus kivsLogGaussSingle_IdVar_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, int len, Kiv32s* pResult,
                                              Kiv32s val, int scaleFactor) {
  return score_identity(WordArithmetic<Kiv32s>(scaleFactor), pSrc, pMean, len, pResult, val);
}
KivStatus kivsLogGaussSingle_IdVarLow_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, int len, Kiv32s* pResult,
                                                 Kiv32s val, int scaleFactor) {
  return score_identity(WordArithmetic<Kiv32s>(scaleFactor), pSrc, pMean, len, pResult, val);
}
KivStatus kivsLogGaussSingle_BlockDVar_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean,
                                                  const Kiv16s* const* pBlockDVar, int len, Kiv32s* pResult, Kiv32s val,
                                                  int scaleFactor) {
  return score_block(WordArithmetic<Kiv32s>(scaleFactor), pSrc, pMean, pBlockDVar, len, pResult, val);
}

KivStatus kivsMahDistSingle_16s32f(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                   Kiv32f* pResult) {
  return mahalanobis(pSrc, pMean, pVar, len, pResult, 1.0F);
}
KivStatus kivsMahDistSingle_16s32s_Sfs(const Kiv16s* pSrc, const Kiv16s* pMean, const Kiv16s* pVar, int len,
                                       Kiv32s* pResult, int scaleFactor) {
  return mahalanobis(pSrc, pMean, pVar, len, pResult, single_scale(scaleFactor));
}
}
