/* Column and row statistics of feature matrices. */
#ifndef KIVSR_VECTOR_STATISTICS_H
#define KIVSR_VECTOR_STATISTICS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsMeanColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_16s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_16s_D2L(const Kiv16s** ppSrc, int height, Kiv16s* pDstMean, int width);
KIVSR_API KivStatus kivsVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsVarColumn_32f_D2L(const Kiv32f** ppSrc, int height, const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, const Kiv16s* pSrcMean, Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsVarColumn_16s_D2LSfs(const Kiv16s** ppSrc, int height, const Kiv16s* pSrcMean, Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsMeanVarColumn_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsMeanVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s_D2LSfs(const Kiv16s** ppSrc, int height, Kiv16s* pDstMean, Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv32s* pDstMean, Kiv32s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s32s_D2LSfs(const Kiv16s** ppSrc, int height, Kiv32s* pDstMean, Kiv32s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s16s32s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, Kiv32s* pDstVar, int width);
KIVSR_API KivStatus kivsMeanVarColumn_16s16s32s_D2L(const Kiv16s** ppSrc, int height, Kiv16s* pDstMean, Kiv32s* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pWgt, int height, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height, const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pWgt, int height, const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height, Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pWgt, int height, Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height, Kiv64f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pWgt, int height, Kiv64f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height, const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pWgt, int height, const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height, Kiv64f* pDstMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pWgt, int height, Kiv64f* pDstMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsSumColumn_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_64f_D2(const Kiv64f* pSrc, int step, int height, Kiv64f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_64f_D2L(const Kiv64f** ppSrc, int height, Kiv64f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32f_D2(const Kiv16s* pSrc, int step, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32f_D2L(const Kiv16s** ppSrc, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsSumColumn_16s32s_D2LSfs(const Kiv16s** ppSrc, int height, Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsSumRow_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_32f_D2L(const Kiv32f** ppSrc, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_64f_D2(const Kiv64f* pSrc, int width, int step, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_64f_D2L(const Kiv64f** ppSrc, int width, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32f_D2(const Kiv16s* pSrc, int width, int step, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32f_D2L(const Kiv16s** ppSrc, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32s_D2Sfs(const Kiv16s* pSrc, int width, int step, Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsSumRow_16s32s_D2LSfs(const Kiv16s** ppSrc, int width, Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsSumMeanVar_32f(const Kiv32f* pSrc, int step, int height, Kiv32f* pDstSum, Kiv32f* pDstSumSq, int width);
KIVSR_API KivStatus kivsSumMeanVar_32f_I(const Kiv32f* pSrc, int step, int height, Kiv32f* pSrcDstSum, Kiv32f* pSrcDstSumSq, int width);
KIVSR_API KivStatus kivsSumMeanVar_16s32f(const Kiv16s* pSrc, int step, int height, Kiv32f* pDstSum, Kiv32f* pDstSumSq, int width);
KIVSR_API KivStatus kivsSumMeanVar_16s32f_I(const Kiv16s* pSrc, int step, int height, Kiv32f* pSrcDstSum, Kiv32f* pSrcDstSumSq, int width);
KIVSR_API KivStatus kivsSumMeanVar_16s32s_Sfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pDstSum, Kiv32s* pDstSumSq, int width, int scaleFactor);
KIVSR_API KivStatus kivsSumMeanVar_16s32s_ISfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pSrcDstSum, Kiv32s* pSrcDstSumSq, int width, int scaleFactor);
KIVSR_API KivStatus kivsSubRow_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pSrcDst, int step, int height);
KIVSR_API KivStatus kivsSubRow_32f_D2L(const Kiv32f* pSrc, int width, Kiv32f** ppSrcDst, int height);
KIVSR_API KivStatus kivsSubRow_16s_D2(const Kiv16s* pSrc, int width, Kiv16s* pSrcDst, int step, int height);
KIVSR_API KivStatus kivsSubRow_16s_D2L(const Kiv16s* pSrc, int width, Kiv16s** ppSrcDst, int height);
KIVSR_API KivStatus kivsAddAllRowSum_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pSrcDst, int width);
KIVSR_API KivStatus kivsAddAllRowSum_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pSrcDst, int width);
KIVSR_API KivStatus kivsNormalizeColumn_32f_D2(Kiv32f* pSrcDst, int step, int height, const Kiv32f* pMean, const Kiv32f* pFactor, int width);
KIVSR_API KivStatus kivsNormalizeColumn_32f_D2L(Kiv32f** ppSrcDst, int height, const Kiv32f* pMean, const Kiv32f* pFactor, int width);
KIVSR_API KivStatus kivsNormalizeColumn_16s_D2Sfs(Kiv16s* pSrcDst, int step, int height, const Kiv16s* pMean, const Kiv16s* pFactor, int width, int scaleFactor);
KIVSR_API KivStatus kivsNormalizeColumn_16s_D2LSfs(Kiv16s** ppSrcDst, int height, const Kiv16s* pMean, const Kiv16s* pFactor, int width, int scaleFactor);
KIVSR_API KivStatus kivsCopyColumn_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int firstColumn, int nColumns, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_16s_D2(const Kiv16s* pSrc, int width, int step, Kiv16s* pDst, int firstColumn, int nColumns, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_32f_D2(const Kiv32f* pSrc, int srcWidth, int srcStep, Kiv32f* pDst, const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_64f_D2(const Kiv64f* pSrc, int srcWidth, int srcStep, Kiv64f* pDst, const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_16s_D2(const Kiv16s* pSrc, int srcWidth, int srcStep, Kiv16s* pDst, const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_32f_D2L(const Kiv32f** ppSrc, int srcWidth, Kiv32f** ppDst, const Kiv32s* pIndx, int dstWidth, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_64f_D2L(const Kiv64f** ppSrc, int srcWidth, Kiv64f** ppDst, const Kiv32s* pIndx, int dstWidth, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_16s_D2L(const Kiv16s** ppSrc, int srcWidth, Kiv16s** ppDst, const Kiv32s* pIndx, int dstWidth, int height);
KIVSR_API KivStatus kivsAddNRows_32f_D2(const Kiv32f* pSrc, int count, int offset, int step, const Kiv32s* pIndx, const Kiv32s* pAddIndx, int nRows, Kiv32f* pDst, int width);

KIVSR_END_DECLS

#endif
