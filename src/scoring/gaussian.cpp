// Exports of floating-point Gaussian scoring: one shape for each operation and layout, one line for each name.
#include "kivsr/scoring/gaussian.h"

#include "gaussian_arithmetic.h"
#include "gaussian_calls.h"

extern "C" {
using namespace kivsr;

#define FRAMES_D2(name, E, R, keep)                                                                                \
  KivStatus name(const E* pSrc, int step, const E* pMean, const E* pVar, int len, R* pSrcDst, int height, R val) { \
    return frames<keep>(FloatingArithmetic<E, R>{}, pSrc, step, pMean, pVar, len, pSrcDst, height, val);           \
  }
#define FRAMES_D2L(name, E, R, keep)                                                                       \
  KivStatus name(const E** ppSrc, const E* pMean, const E* pVar, int len, R* pSrcDst, int height, R val) { \
    return frames<keep>(FloatingArithmetic<E, R>{}, ppSrc, pMean, pVar, len, pSrcDst, height, val);        \
  }
#define FRAMES_IDVAR_D2(name, E, R, keep)                                                                   \
  KivStatus name(const E* pSrc, int step, const E* pMean, int len, R* pSrcDst, int height, R val) {         \
    return frames<keep>(FloatingArithmetic<E, R>{}, pSrc, step, pMean, nullptr, len, pSrcDst, height, val); \
  }
#define FRAMES_IDVAR_D2L(name, E, R, keep)                                                             \
  KivStatus name(const E** ppSrc, const E* pMean, int len, R* pSrcDst, int height, R val) {            \
    return frames<keep>(FloatingArithmetic<E, R>{}, ppSrc, pMean, nullptr, len, pSrcDst, height, val); \
  }
#define MULTI_MIX_D2(name, E, R)                                                                            \
  KivStatus name(const E* pMean, const E* pVar, int step, const E* pSrc, int len, R* pSrcDst, int height) { \
    return multi_mix(FloatingArithmetic<E, R>{}, pMean, pVar, step, pSrc, len, pSrcDst, height);            \
  }
#define MULTI_MIX_D2L(name, E, R)                                                                     \
  KivStatus name(const E** ppMean, const E** ppVar, const E* pSrc, int len, R* pSrcDst, int height) { \
    return multi_mix(FloatingArithmetic<E, R>{}, ppMean, ppVar, pSrc, len, pSrcDst, height);          \
  }
#define MULTI_MIX_IDVAR_D2(name, E, R)                                                              \
  KivStatus name(const E* pMean, int step, const E* pSrc, int len, R* pSrcDst, int height) {        \
    return multi_mix(FloatingArithmetic<E, R>{}, pMean, nullptr, step, pSrc, len, pSrcDst, height); \
  }
#define MULTI_MIX_IDVAR_D2L(name, E, R)                                                        \
  KivStatus name(const E** ppMean, const E* pSrc, int len, R* pSrcDst, int height) {           \
    return multi_mix(FloatingArithmetic<E, R>{}, ppMean, nullptr, pSrc, len, pSrcDst, height); \
  }
#define MERGED_MIX_D2(name, E, R, keep)                                                                       \
  KivStatus name(const E* pMean, const E* pVar, int step, const E* pSrc, int len, const R* pVal, R* pSrcDst,  \
                 int height) {                                                                                \
    return merged_mix<keep>(FloatingArithmetic<E, R>{}, pMean, pVar, step, pSrc, len, pVal, pSrcDst, height); \
  }
#define MERGED_MIX_D2L(name, E, R, keep)                                                                             \
  KivStatus name(const E** ppMean, const E** ppVar, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) { \
    return merged_mix<keep>(FloatingArithmetic<E, R>{}, ppMean, ppVar, pSrc, len, pVal, pSrcDst, height);            \
  }
#define MERGED_MIX_IDVAR_D2(name, E, R, keep)                                                                    \
  KivStatus name(const E* pMean, int step, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) {      \
    return merged_mix<keep>(FloatingArithmetic<E, R>{}, pMean, nullptr, step, pSrc, len, pVal, pSrcDst, height); \
  }
#define MERGED_MIX_IDVAR_D2L(name, E, R, keep)                                                              \
  KivStatus name(const E** ppMean, const E* pSrc, int len, const R* pVal, R* pSrcDst, int height) {         \
    return merged_mix<keep>(FloatingArithmetic<E, R>{}, ppMean, nullptr, pSrc, len, pVal, pSrcDst, height); \
  }
#define MIXTURE_D2(name, E, R)                                                                               \
  KivStatus name(const E* pSrc, const E* pMean, const E* pVar, int height, int step, int len, const R* pVal, \
                 R* pResult) {                                                                               \
    return mixture(FloatingArithmetic<E, R>{}, pSrc, pMean, pVar, height, step, len, pVal, pResult);         \
  }
#define MIXTURE_D2L(name, E, R)                                                                                      \
  KivStatus name(const E* pSrc, const E** ppMean, const E** ppVar, int height, int len, const R* pVal, R* pResult) { \
    return mixture(FloatingArithmetic<E, R>{}, pSrc, ppMean, ppVar, height, len, pVal, pResult);                     \
  }
#define MIXTURE_IDVAR_D2(name, E, R)                                                                        \
  KivStatus name(const E* pSrc, const E* pMean, int height, int step, int len, const R* pVal, R* pResult) { \
    return mixture(FloatingArithmetic<E, R>{}, pSrc, pMean, nullptr, height, step, len, pVal, pResult);     \
  }
#define MIXTURE_IDVAR_D2L(name, E, R)                                                               \
  KivStatus name(const E* pSrc, const E** ppMean, int height, int len, const R* pVal, R* pResult) { \
    return mixture(FloatingArithmetic<E, R>{}, pSrc, ppMean, nullptr, height, len, pVal, pResult);  \
  }
#define SINGLE(name, E, R, driver)                                                           \
  KivStatus name(const E* pSrc, const E* pMean, const E* pVar, int len, R* pResult, R val) { \
    return driver(FloatingArithmetic<E, R>{}, pSrc, pMean, pVar, len, pResult, val);         \
  }
#define SINGLE_IDVAR(name, E, R)                                                        \
  KivStatus name(const E* pSrc, const E* pMean, int len, R* pResult, R val) {           \
    return single(FloatingArithmetic<E, R>{}, pSrc, pMean, nullptr, len, pResult, val); \
  }
#define SINGLE_BLOCK(name, E, R)                                                                    \
  KivStatus name(const E* pSrc, const E* pMean, const E** pBlockDVar, int len, R* pResult, R val) { \
    return single_block(FloatingArithmetic<E, R>{}, pSrc, pMean, pBlockDVar, len, pResult, val);    \
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
MULTI_MIX_D2(kivsLogGaussMultiMix_32f_D2, Kiv32f, Kiv32f)
MULTI_MIX_D2L(kivsLogGaussMultiMix_32f_D2L, Kiv32f, Kiv32f)
MULTI_MIX_IDVAR_D2(kivsLogGaussMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f)
MULTI_MIX_IDVAR_D2L(kivsLogGaussMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_32f_D2, Kiv32f, Kiv32f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_32f_D2L, Kiv32f, Kiv32f, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_32f_D2, Kiv32f, Kiv32f)
MIXTURE_D2L(kivsLogGaussMixture_32f_D2L, Kiv32f, Kiv32f)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVar_32f_D2, Kiv32f, Kiv32f)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVar_32f_D2L, Kiv32f, Kiv32f)
SINGLE(kivsLogGaussSingle_32f, Kiv32f, Kiv32f, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVar_32f, Kiv32f, Kiv32f)
SINGLE(kivsLogGaussSingle_DirectVar_32f, Kiv32f, Kiv32f, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVar_32f, Kiv32f, Kiv32f)

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
MULTI_MIX_D2(kivsLogGaussMultiMix_64f_D2, Kiv64f, Kiv64f)
MULTI_MIX_D2L(kivsLogGaussMultiMix_64f_D2L, Kiv64f, Kiv64f)
MULTI_MIX_IDVAR_D2(kivsLogGaussMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f)
MULTI_MIX_IDVAR_D2L(kivsLogGaussMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_64f_D2, Kiv64f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_64f_D2L, Kiv64f, Kiv64f, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_64f_D2, Kiv64f, Kiv64f)
MIXTURE_D2L(kivsLogGaussMixture_64f_D2L, Kiv64f, Kiv64f)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVar_64f_D2, Kiv64f, Kiv64f)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVar_64f_D2L, Kiv64f, Kiv64f)
SINGLE(kivsLogGaussSingle_64f, Kiv64f, Kiv64f, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVar_64f, Kiv64f, Kiv64f)
SINGLE(kivsLogGaussSingle_DirectVar_64f, Kiv64f, Kiv64f, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVar_64f, Kiv64f, Kiv64f)

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
MULTI_MIX_D2(kivsLogGaussMultiMix_32f64f_D2, Kiv32f, Kiv64f)
MULTI_MIX_D2L(kivsLogGaussMultiMix_32f64f_D2L, Kiv32f, Kiv64f)
MULTI_MIX_IDVAR_D2(kivsLogGaussMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f)
MULTI_MIX_IDVAR_D2L(kivsLogGaussMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f)
MERGED_MIX_D2(kivsLogGaussMaxMultiMix_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2L(kivsLogGaussMaxMultiMix_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2(kivsLogGaussMaxMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussMaxMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kMaximum)
MERGED_MIX_D2(kivsLogGaussAddMultiMix_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
MERGED_MIX_D2L(kivsLogGaussAddMultiMix_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2(kivsLogGaussAddMultiMix_IdVar_32f64f_D2, Kiv32f, Kiv64f, Keep::kLogSum)
MERGED_MIX_IDVAR_D2L(kivsLogGaussAddMultiMix_IdVar_32f64f_D2L, Kiv32f, Kiv64f, Keep::kLogSum)
MIXTURE_D2(kivsLogGaussMixture_32f64f_D2, Kiv32f, Kiv64f)
MIXTURE_D2L(kivsLogGaussMixture_32f64f_D2L, Kiv32f, Kiv64f)
MIXTURE_IDVAR_D2(kivsLogGaussMixture_IdVar_32f64f_D2, Kiv32f, Kiv64f)
MIXTURE_IDVAR_D2L(kivsLogGaussMixture_IdVar_32f64f_D2L, Kiv32f, Kiv64f)
SINGLE(kivsLogGaussSingle_32f64f, Kiv32f, Kiv64f, single)
SINGLE_IDVAR(kivsLogGaussSingle_IdVar_32f64f, Kiv32f, Kiv64f)
SINGLE(kivsLogGaussSingle_DirectVar_32f64f, Kiv32f, Kiv64f, single_direct)
SINGLE_BLOCK(kivsLogGaussSingle_BlockDVar_32f64f, Kiv32f, Kiv64f)

#undef FRAMES_D2
#undef FRAMES_D2L
#undef FRAMES_IDVAR_D2
#undef FRAMES_IDVAR_D2L
#undef MULTI_MIX_D2
#undef MULTI_MIX_D2L
#undef MULTI_MIX_IDVAR_D2
#undef MULTI_MIX_IDVAR_D2L
#undef MERGED_MIX_D2
#undef MERGED_MIX_D2L
#undef MERGED_MIX_IDVAR_D2
#undef MERGED_MIX_IDVAR_D2L
#undef MIXTURE_D2
#undef MIXTURE_D2L
#undef MIXTURE_IDVAR_D2
#undef MIXTURE_IDVAR_D2L
#undef SINGLE
#undef SINGLE_IDVAR
#undef SINGLE_BLOCK
}
