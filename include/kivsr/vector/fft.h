/* Real FFT. */
#ifndef KIVSR_VECTOR_FFT_H
#define KIVSR_VECTOR_FFT_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsFFTGetSize_R_32f(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize);
KIVSR_API KivStatus kivsFFTInit_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec, Kiv8u* pMemInit);
KIVSR_API KivStatus kivsFFTInitAlloc_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint);
KIVSR_API KivStatus kivsFFTFree_R_32f(KivsFFTSpec_R_32f* pSpec);
KIVSR_API KivStatus kivsFFTGetBufSize_R_32f(const KivsFFTSpec_R_32f* pSpec, int* pBufferSize);
KIVSR_API KivStatus kivsFFTFwd_RToCCS_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTFwd_RToPack_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTFwd_RToPerm_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTInv_PackToR_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTGetSize_R_16s32s(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize);
KIVSR_API KivStatus kivsFFTInit_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec, Kiv8u* pMemInit);
KIVSR_API KivStatus kivsFFTInitAlloc_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint);
KIVSR_API KivStatus kivsFFTFree_R_16s32s(KivsFFTSpec_R_16s32s* pSpec);
KIVSR_API KivStatus kivsFFTFwd_RToCCS_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFFTSpec_R_16s32s* pSpec, Kiv8u* pBuffer, int scaleFactor);
KIVSR_API KivStatus kivsMulPackConj_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);

KIVSR_END_DECLS

#endif
