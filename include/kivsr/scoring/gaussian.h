/* Gaussian log-likelihoods, floating point. */
#ifndef KIVSR_SCORING_GAUSSIAN_H
#define KIVSR_SCORING_GAUSSIAN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsLogGauss_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv32f* pDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv32f* pSrcDst, int height, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc, int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len, const Kiv32f* pVal, Kiv32f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMixture_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int height, int step, int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, const Kiv32f** ppVar, int height, int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step, int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, int height, int len, const Kiv32f* pVal, Kiv32f* pResult);
KIVSR_API KivStatus kivsLogGaussSingle_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pResult, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_IdVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, int len, Kiv32f* pResult, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv32f* pResult, Kiv32f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_32f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f** pBlockDVar, int len, Kiv32f* pResult, Kiv32f val);
KIVSR_API KivStatus kivsLogGauss_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_64f_D2L(const Kiv64f** ppMean, const Kiv64f** ppVar, const Kiv64f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_64f_D2L(const Kiv64f** ppMean, const Kiv64f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_64f_D2L(const Kiv64f** ppMean, const Kiv64f** ppVar, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_64f_D2L(const Kiv64f** ppMean, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_64f_D2(const Kiv64f* pMean, const Kiv64f* pVar, int step, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_64f_D2L(const Kiv64f** ppMean, const Kiv64f** ppVar, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_64f_D2(const Kiv64f* pMean, int step, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_64f_D2L(const Kiv64f** ppMean, const Kiv64f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMixture_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int height, int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_64f_D2L(const Kiv64f* pSrc, const Kiv64f** ppMean, const Kiv64f** ppVar, int height, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_64f_D2(const Kiv64f* pSrc, const Kiv64f* pMean, int height, int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_64f_D2L(const Kiv64f* pSrc, const Kiv64f** ppMean, int height, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussSingle_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_IdVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f* pVar, int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_64f(const Kiv64f* pSrc, const Kiv64f* pMean, const Kiv64f** pBlockDVar, int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGauss_IdVar_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv64f* pDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMax_IdVar_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f64f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussAdd_IdVar_32f64f_D2L(const Kiv32f** ppSrc, const Kiv32f* pMean, int len, Kiv64f* pSrcDst, int height, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMultiMix_IdVar_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMaxMultiMix_IdVar_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f64f_D2(const Kiv32f* pMean, const Kiv32f* pVar, int step, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f** ppVar, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f64f_D2(const Kiv32f* pMean, int step, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussAddMultiMix_IdVar_32f64f_D2L(const Kiv32f** ppMean, const Kiv32f* pSrc, int len, const Kiv64f* pVal, Kiv64f* pSrcDst, int height);
KIVSR_API KivStatus kivsLogGaussMixture_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int height, int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, const Kiv32f** ppVar, int height, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f64f_D2(const Kiv32f* pSrc, const Kiv32f* pMean, int height, int step, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussMixture_IdVar_32f64f_D2L(const Kiv32f* pSrc, const Kiv32f** ppMean, int height, int len, const Kiv64f* pVal, Kiv64f* pResult);
KIVSR_API KivStatus kivsLogGaussSingle_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_IdVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_DirectVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f* pVar, int len, Kiv64f* pResult, Kiv64f val);
KIVSR_API KivStatus kivsLogGaussSingle_BlockDVar_32f64f(const Kiv32f* pSrc, const Kiv32f* pMean, const Kiv32f** pBlockDVar, int len, Kiv64f* pResult, Kiv64f val);

KIVSR_END_DECLS

#endif
