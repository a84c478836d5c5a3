/* Reductions and searches. */
#ifndef KIVSR_VECTOR_REDUCTIONS_H
#define KIVSR_VECTOR_REDUCTIONS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsSum_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum, int hint);
KIVSR_API KivStatus kivsSum_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pSum, int scaleFactor);
KIVSR_API KivStatus kivsSum_32s_Sfs(const Kiv32s* pSrc, int len, Kiv32s* pSum, int scaleFactor);
KIVSR_API KivStatus kivsDotProd_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f* pDp);
KIVSR_API KivStatus kivsDotProd_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, int len, Kiv64f* pDp);
KIVSR_API KivStatus kivsDotProd_32f64f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv64f* pDp);
KIVSR_API KivStatus kivsDotProd_16s64s(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv64s* pDp);
KIVSR_API KivStatus kivsDotProd_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f* pDp);
KIVSR_API KivStatus kivsMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax);
KIVSR_API KivStatus kivsMax_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax);
KIVSR_API KivStatus kivsMin_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin);
KIVSR_API KivStatus kivsMin_64f(const Kiv64f* pSrc, int len, Kiv64f* pMin);
KIVSR_API KivStatus kivsMinMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, Kiv32f* pMax);
KIVSR_API KivStatus kivsMaxIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMaxIndx_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMinIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, int* pIndx);
KIVSR_API KivStatus kivsNthMaxElement_32s(const Kiv32s* pSrc, int len, int N, Kiv32s* pRes);
KIVSR_API KivStatus kivsNthMaxElement_32f(const Kiv32f* pSrc, int len, int N, Kiv32f* pRes);
KIVSR_API KivStatus kivsNthMaxElement_64f(const Kiv64f* pSrc, int len, int N, Kiv64f* pRes);
KIVSR_API KivStatus kivsEntropy_32f(const Kiv32f* pSrc, int len, Kiv32f* pResult);
KIVSR_API KivStatus kivsEntropy_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pResult, int scaleFactor);
KIVSR_API KivStatus kivsSumLn_32f(const Kiv32f* pSrc, int len, Kiv32f* pSum);
KIVSR_API KivStatus kivsSumLn_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
KIVSR_API KivStatus kivsMagnitude_32fc(const Kiv32fc* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMagnitude_32sc_Sfs(const Kiv32sc* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsDotProdColumn_64f_D2L(const Kiv64f** ppSrc, int column1, int column2, int height, Kiv64f* pDp);
KIVSR_API KivStatus kivsSumColumnAbs_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumColumnSqr_64f_D2L(const Kiv64f** ppSrc, int column, int height, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumRowAbs_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);
KIVSR_API KivStatus kivsSumRowSqr_64f(const Kiv64f* pSrc, int len, Kiv64f* pSum);

KIVSR_END_DECLS

#endif
