/* Matrix-vector products and covariance accumulation. */
#ifndef KIVSR_VECTOR_PRODUCTS_H
#define KIVSR_VECTOR_PRODUCTS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsMatVecMul_32f_D2(const Kiv32f* pSrcMatrix, int step, const Kiv32f* pSrcVec, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMatVecMul_32f_D2L(const Kiv32f** ppSrcMatrix, const Kiv32f* pSrcVec, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMatVecMul_16s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width, Kiv16s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s_D2LSfs(const Kiv16s** ppSrcMatrix, const Kiv16s* pSrcVec, int width, Kiv16s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s32s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width, Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s32s_D2LSfs(const Kiv16s** ppSrcMatrix, const Kiv16s* pSrcVec, int width, Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_32s_D2Sfs(const Kiv32s* pSrcMatrix, int step, const Kiv32s* pSrcVec, int width, Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_32s_D2LSfs(const Kiv32s** ppSrcMatrix, const Kiv32s* pSrcVec, int width, Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32f_D2(const Kiv32f* pSrcVec, const Kiv32f* pSrcMatrix, int step, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsVecMatMul_32f_D2L(const Kiv32f* pSrcVec, const Kiv32f** ppSrcMatrix, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsVecMatMul_16s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height, Kiv16s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s** ppSrcMatrix, int height, Kiv16s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s32s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height, Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s32s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s** ppSrcMatrix, int height, Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32s_D2Sfs(const Kiv32s* pSrcVec, const Kiv32s* pSrcMatrix, int step, int height, Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32s_D2LSfs(const Kiv32s* pSrcVec, const Kiv32s** ppSrcMatrix, int height, Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_32f64f_D2(const Kiv32f* pSrc, int srcStep, int height, const Kiv32f* pMean, Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_32f64f_D2L(const Kiv32f** ppSrc, int height, const Kiv32f* pMean, Kiv64f** ppSrcDst, int width, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_16s64f_D2(const Kiv16s* pSrc, int srcStep, int height, const Kiv16s* pMean, Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_16s64f_D2L(const Kiv16s** ppSrc, int height, const Kiv16s* pMean, Kiv64f** ppSrcDst, int width, Kiv64f factor);

KIVSR_END_DECLS

#endif
