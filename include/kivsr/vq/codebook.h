/* Codebooks. */
#ifndef KIVSR_VQ_CODEBOOK_H
#define KIVSR_VQ_CODEBOOK_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsCdbkInitAlloc_L2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInitAlloc_WgtL2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, const Kiv32f* pWeight, int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInit_L2_32f(KivsCdbkState_32f* pCdbk, const Kiv32f* pSrc, int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize);
KIVSR_API KivStatus kivsGetCdbkSize_32f(const KivsCdbkState_32f* pCdbk, int* pCount);
KIVSR_API KivStatus kivsGetCodebook_32f(const KivsCdbkState_32f* pCdbk, Kiv32f* pDst, int step);
KIVSR_API KivStatus kivsCdbkFree_32f(KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsCdbkInitAlloc_L2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInitAlloc_WgtL2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, const Kiv16s* pWeight, int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInit_L2_16s(KivsCdbkState_16s* pCdbk, const Kiv16s* pSrc, int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize);
KIVSR_API KivStatus kivsGetCdbkSize_16s(const KivsCdbkState_16s* pCdbk, int* pCount);
KIVSR_API KivStatus kivsGetCodebook_16s(const KivsCdbkState_16s* pCdbk, Kiv16s* pDst, int step);
KIVSR_API KivStatus kivsCdbkFree_16s(KivsCdbkState_16s* pCdbk);

KIVSR_END_DECLS

#endif
