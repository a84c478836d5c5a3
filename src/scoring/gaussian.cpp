// Exports of floating-point Gaussian scoring. Operations with six members or more have a shape: parameters, checks and
// loop (gaussian.h) once, and a line for each name. The inner loop is gaussian_arithmetic.h.
#include "kivsr/scoring/gaussian.h"

#include "gaussian.h"
#include "gaussian_arithmetic.h"
#include "gaussian_single.h"

extern "C" {
using namespace kivsr;

#define FRAMES_D2(name, E, R, keep)                                                                                \
  KivStatus name(const E* pSrc, int step, const E* pMean, const E* pVar, int len, R* pSrcDst, int height, R val) { \
    return score_frames<keep>(FloatingArithmetic<E, R>(), StepRows{pSrc, step}, OneRow{pMean}, OneRow{pVar}, len,  \
                              pSrcDst, height, val);                                                               \
  }
#define FRAMES_D2L(name, E, R, keep)                                                                             \
  KivStatus name(const E* const* ppSrc, const E* pMean, const E* pVar, int len, R* pSrcDst, int height, R val) { \
    return score_frames<keep>(FloatingArithmetic<E, R>(), PointerRows{ppSrc}, OneRow{pMean}, OneRow{pVar}, len,  \
                              pSrcDst, height, val);                                                             \
  }
#define FRAMES_IDVAR_D2(name, E, R, keep)                                                                       \
  KivStatus name(const E* pSrc, int step, const E* pMean, int len, R* pSrcDst, int height, R val) {             \
    return score_frames<keep>(FloatingArithmetic<E, R>(), StepRows{pSrc, step}, OneRow{pMean}, UnitRows(), len, \
                              pSrcDst, height, val);                                                            \
  }
#define FRAMES_IDVAR_D2L(name, E, R, keep)                                                                             \
  KivStatus name(const E* const* ppSrc, const E* pMean, int len, R* pSrcDst, int height, R val) {                      \
    return score_frames<keep>(FloatingArithmetic<E, R>(), PointerRows{ppSrc}, OneRow{pMean}, UnitRows(), len, pSrcDst, \
                              height, val);                                                                            \
  }
#define GAUSSIANS_D2(name, E, R, keep)                                                                       \
  KivStatus name(const E* pMean, const E* pVar, int step, const E* pSrc, int len, const R* pVal, R* pSrcDst, \
                 int height) {                                                                               \
    return score_gaussians<keep>(FloatingArithmetic<E, R>(), OneRow{pSrc}, StepRows{pMean, step},            \
                                 StepRows{pVar, step}, len, pVal, pSrcDst, height);                          \
  }
#define GAUSSIANS_D2L(name, E, R, keep)                                                                             \
  KivStatus name(const E* const* ppMean, const E* const* ppVar, const E* pSrc, int len, const R* pVal, R* pSrcDst,  \
                 int height) {                                                                                      \
    return score_gaussians<keep>(FloatingArithmetic<E, R>(), OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar}, \
                                 len, pVal, pSrcDst, height);                                                       \
  }
#define GAUSSIANS_IDVAR_D2(name, E, R, keep)                                                                       \
  KivStatus name(const E* pMean, int step, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) {        \
    return score_gaussians<keep>(FloatingArithmetic<E, R>(), OneRow{pSrc}, StepRows{pMean, step}, UnitRows(), len, \
                                 pVal, pSrcDst, height);                                                           \
  }
#define GAUSSIANS_IDVAR_D2L(name, E, R, keep)                                                                          \
  KivStatus name(const E* const* ppMean, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) {              \
    return score_gaussians<keep>(FloatingArithmetic<E, R>(), OneRow{pSrc}, PointerRows{ppMean}, UnitRows(), len, pVal, \
                                 pSrcDst, height);                                                                     \
  }
#define SINGLE(name, E, R, score)                                                            \
  KivStatus name(const E* pSrc, const E* pMean, const E* pVar, int len, R* pResult, R val) { \
    return score(FloatingArithmetic<E, R>(), pSrc, pMean, pVar, len, pResult, val);          \
  }

FRAMES_D2(kivsLogGauss_32f_D2, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_32f_D2L, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
GAUSSIANS_D2(kivsLogGaussMaxMultiMix_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
GAUSSIANS_D2L(kivsLogGaussMaxMultiMix_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
GAUSSIANS_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
GAUSSIANS_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
GAUSSIANS_D2(kivsLogGaussAddMultiMix_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
GAUSSIANS_D2L(kivsLogGaussAddMultiMix_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
GAUSSIANS_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
GAUSSIANS_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
SINGLE(kivsLogGaussSingle_32f, Kiv32f, Kiv32f, score_weighted)
SINGLE(kivsLogGaussSingle_DirectVar_32f, Kiv32f, Kiv32f, score_direct)

FRAMES_D2(kivsLogGauss_64f_D2, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_64f_D2L, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
GAUSSIANS_D2(kivsLogGaussMaxMultiMix_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
GAUSSIANS_D2L(kivsLogGaussMaxMultiMix_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
GAUSSIANS_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
GAUSSIANS_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
GAUSSIANS_D2(kivsLogGaussAddMultiMix_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
GAUSSIANS_D2L(kivsLogGaussAddMultiMix_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
GAUSSIANS_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
GAUSSIANS_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
SINGLE(kivsLogGaussSingle_64f, Kiv64f, Kiv64f, score_weighted)
SINGLE(kivsLogGaussSingle_DirectVar_64f, Kiv64f, Kiv64f, score_direct)

FRAMES_D2(kivsLogGauss_32f64f_D2, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_D2L(kivsLogGauss_32f64f_D2L, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2(kivsLogGauss_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_IDVAR_D2L(kivsLogGauss_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kScore)
FRAMES_D2(kivsLogGaussMax_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_D2L(kivsLogGaussMax_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2(kivsLogGaussMax_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_IDVAR_D2L(kivsLogGaussMax_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
FRAMES_D2(kivsLogGaussAdd_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
FRAMES_D2L(kivsLogGaussAdd_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2(kivsLogGaussAdd_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
FRAMES_IDVAR_D2L(kivsLogGaussAdd_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
GAUSSIANS_D2(kivsLogGaussMaxMultiMix_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
GAUSSIANS_D2L(kivsLogGaussMaxMultiMix_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
GAUSSIANS_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
GAUSSIANS_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
GAUSSIANS_D2(kivsLogGaussAddMultiMix_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
GAUSSIANS_D2L(kivsLogGaussAddMultiMix_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
GAUSSIANS_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
GAUSSIANS_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
SINGLE(kivsLogGaussSingle_32f64f, Kiv32f, Kiv64f, score_weighted)
SINGLE(kivsLogGaussSingle_DirectVar_32f64f, Kiv32f, Kiv64f, score_direct)

#undef FRAMES_D2
#undef FRAMES_D2L
#undef FRAMES_IDVAR_D2
#undef FRAMES_IDVAR_D2L
#undef GAUSSIANS_D2
#undef GAUSSIANS_D2L
#undef GAUSSIANS_IDVAR_D2
#undef GAUSSIANS_IDVAR_D2L
#undef SINGLE

KivStatus kivsLogGaussMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len,
                                      Kiv32f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, StepRows{pMean, step},
                                       StepRows{pVar, step}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar, const Kiv32f* pSrc,
                                       int len, Kiv32f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, PointerRows{ppMean},
                                       PointerRows{ppVar}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len, Kiv32f* pSrcDst,
                                            int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, StepRows{pMean, step},
                                       UnitRows(), len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_IdVar_32f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len, Kiv32f* pSrcDst,
                                             int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, PointerRows{ppMean},
                                       UnitRows(), len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc, int len,
                                      Kiv64f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step},
                                       StepRows{pVar, step}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* const* ppVar, const Kiv64f* pSrc,
                                       int len, Kiv64f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean},
                                       PointerRows{ppVar}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len, Kiv64f* pSrcDst,
                                            int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step},
                                       UnitRows(), len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_IdVar_64f_D2L(const Kiv64f* const* ppMean, const Kiv64f* pSrc, int len, Kiv64f* pSrcDst,
                                             int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean},
                                       UnitRows(), len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len,
                                         Kiv64f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step},
                                       StepRows{pVar, step}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* const* ppVar, const Kiv32f* pSrc,
                                          int len, Kiv64f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean},
                                       PointerRows{ppVar}, len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len,
                                               Kiv64f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step},
                                       UnitRows(), len, pSrcDst, pSrcDst, height);
}
KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2L(const Kiv32f* const* ppMean, const Kiv32f* pSrc, int len,
                                                Kiv64f* pSrcDst, int height) {
  return score_gaussians<Keep::kScore>(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean},
                                       UnitRows(), len, pSrcDst, pSrcDst, height);
}

KivStatus kivsLogGaussMixture_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int height, int step,
                                     int len, const Kiv32f* pVal, Kiv32f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, StepRows{pMean, step}, StepRows{pVar, step},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_32f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                      int height, int len, const Kiv32f* pVal, Kiv32f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step, int len,
                                           const Kiv32f* pVal, Kiv32f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, StepRows{pMean, step}, UnitRows(), height,
                       len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVar_32f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean, int height, int len,
                                            const Kiv32f* pVal, Kiv32f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv32f>(), OneRow{pSrc}, PointerRows{ppMean}, UnitRows(), height, len,
                       pVal, pResult);
}
KivStatus kivsLogGaussMixture_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int height, int step,
                                     int len, const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step}, StepRows{pVar, step},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_64f_D2L(const Kiv64f* pSrc, const Kiv64f* const* ppMean, const Kiv64f* const* ppVar,
                                      int height, int len, const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVar_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, int height, int step, int len,
                                           const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step}, UnitRows(), height,
                       len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVar_64f_D2L(const Kiv64f* pSrc, const Kiv64f* const* ppMean, int height, int len,
                                            const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv64f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean}, UnitRows(), height, len,
                       pVal, pResult);
}
KivStatus kivsLogGaussMixture_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int height,
                                        int step, int len, const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step}, StepRows{pVar, step},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean, const Kiv32f* const* ppVar,
                                         int height, int len, const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean}, PointerRows{ppVar},
                       height, len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVar_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step, int len,
                                              const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, StepRows{pMean, step}, UnitRows(), height,
                       len, pVal, pResult);
}
KivStatus kivsLogGaussMixture_IdVar_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f* const* ppMean, int height, int len,
                                               const Kiv64f* pVal, Kiv64f* pResult) {
  return score_mixture(FloatingArithmetic<Kiv32f, Kiv64f>(), OneRow{pSrc}, PointerRows{ppMean}, UnitRows(), height, len,
                       pVal, pResult);
}

KivStatus kivsLogGaussSingle_IdVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, int len, Kiv32f* pResult, Kiv32f val) {
  return score_identity(FloatingArithmetic<Kiv32f, Kiv32f>(), pSrc, pMean, len, pResult, val);
}
KivStatus kivsLogGaussSingle_BlockDVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* const* pBlockDVar,
                                           int len, Kiv32f* pResult, Kiv32f val) {
  return score_block(FloatingArithmetic<Kiv32f, Kiv32f>(), pSrc, pMean, pBlockDVar, len, pResult, val);
}
KivStatus kivsLogGaussSingle_IdVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, int len, Kiv64f* pResult, Kiv64f val) {
  return score_identity(FloatingArithmetic<Kiv64f, Kiv64f>(), pSrc, pMean, len, pResult, val);
}
KivStatus kivsLogGaussSingle_BlockDVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* const* pBlockDVar,
                                           int len, Kiv64f* pResult, Kiv64f val) {
  return score_block(FloatingArithmetic<Kiv64f, Kiv64f>(), pSrc, pMean, pBlockDVar, len, pResult, val);
}
KivStatus kivsLogGaussSingle_IdVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, int len, Kiv64f* pResult,
                                          Kiv64f val) {
  return score_identity(FloatingArithmetic<Kiv32f, Kiv64f>(), pSrc, pMean, len, pResult, val);
}
KivStatus kivsLogGaussSingle_BlockDVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* const* pBlockDVar,
                                              int len, Kiv64f* pResult, Kiv64f val) {
  return score_block(FloatingArithmetic<Kiv32f, Kiv64f>(), pSrc, pMean, pBlockDVar, len, pResult, val);
}
}
