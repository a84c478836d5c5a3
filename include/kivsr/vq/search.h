/* Search, split VQ and vector forming. */
#ifndef KIVSR_VQ_SEARCH_H
#define KIVSR_VQ_SEARCH_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsVQ_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsVQDist_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, Kiv32f* pDist, int height, const KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsVQSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk, int num);
KIVSR_API KivStatus kivsVQDistSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist, const KivsCdbkState_32f* pCdbk, int num);
KIVSR_API KivStatus kivsVQSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk, Kiv32f relThresh, int* pCount);
KIVSR_API KivStatus kivsVQDistSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist, const KivsCdbkState_32f* pCdbk, Kiv32f relThresh, int* pCount);
KIVSR_API KivStatus kivsVQ_16s(const Kiv16s* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_16s* pCdbk);
KIVSR_API KivStatus kivsVQDist_16s32s_Sfs(const Kiv16s* pSrc, int step, Kiv32s* pIndx, Kiv32s* pDist, int height, const KivsCdbkState_16s* pCdbk, int scaleFactor);
KIVSR_API KivStatus kivsVQSingle_Sort_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk, int num);
KIVSR_API KivStatus kivsVQDistSingle_Sort_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist, const KivsCdbkState_16s* pCdbk, int num, int scaleFactor);
KIVSR_API KivStatus kivsVQSingle_Thresh_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk, Kiv32f relThresh, int* pCount);
KIVSR_API KivStatus kivsVQDistSingle_Thresh_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist, const KivsCdbkState_16s* pCdbk, Kiv32f relThresh, int* pCount, int scaleFactor);
KIVSR_API KivStatus kivsSplitVQ_32f16s(const Kiv32f* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height, const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_16s32f(const Kiv16s* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height, const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_32f8u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height, const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_8u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height, const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_32f1u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height, const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_1u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height, const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVector_8u32f(const Kiv8u* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize, const int* pWidth, const int* pStep, int nStreams, Kiv32f* pDst);
KIVSR_API KivStatus kivsFormVector_2i_8u32f(const Kiv8u* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_8u32f(const Kiv8u* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_16s32f(const Kiv16s* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize, const int* pWidth, const int* pStep, int nStreams, Kiv32f* pDst);
KIVSR_API KivStatus kivsFormVector_2i_16s32f(const Kiv16s* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_16s32f(const Kiv16s* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSplitVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height, const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height, const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s8u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height, const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_8u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height, const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s1u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height, const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_1u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height, const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVector_8u16s(const Kiv8u* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize, const int* pWidth, const int* pStep, int nStreams, Kiv16s* pDst);
KIVSR_API KivStatus kivsFormVector_2i_8u16s(const Kiv8u* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_8u16s(const Kiv8u* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_16s16s(const Kiv16s* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize, const int* pWidth, const int* pStep, int nStreams, Kiv16s* pDst);
KIVSR_API KivStatus kivsFormVector_2i_16s16s(const Kiv16s* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_16s16s(const Kiv16s* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize, Kiv16s* pDst, int len);

KIVSR_END_DECLS

#endif
