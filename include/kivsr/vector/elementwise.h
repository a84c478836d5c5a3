/* Elementwise operations and conversions. */
#ifndef KIVSR_VECTOR_ELEMENTWISE_H
#define KIVSR_VECTOR_ELEMENTWISE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsAbs_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsAdd_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsAdd_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsAddC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSub_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsSub_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsMul_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMul_16s_Sfs(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsMulC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMulC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsMulC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMulC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsDiv_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDiv_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDiv_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsDivC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDivC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDivC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsDivC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsSqrt_64f_I(Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsRecSqrt_32f(Kiv32f* pSrcDst, int len, Kiv32f val);
KIVSR_API KivStatus kivsRecSqrt_32s_Sfs(Kiv32s* pSrcDst, int len, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsRecSqrt_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsLn_32f_I(Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsLn_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLn_32s_ISfs(Kiv32s* pSrcDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsMaxEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMinEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMinEvery_32s_I(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len);
KIVSR_API KivStatus kivsCopy_8u(const Kiv8u* pSrc, Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsCopy_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsCopy_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsMove_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSet_8u(Kiv8u val, Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsSet_16s(Kiv16s val, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsSet_32s(Kiv32s val, Kiv32s* pDst, int len);
KIVSR_API KivStatus kivsSet_32f(Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSet_64f(Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsZero_8u(Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsZero_16s(Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsZero_32f(Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsZero_64f(Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsConvert_8u32f(const Kiv8u* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f(const Kiv16s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_32s32f(const Kiv32s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_64f32f(const Kiv64f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f_Sfs(const Kiv16s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32s32f_Sfs(const Kiv32s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_16s64f_Sfs(const Kiv16s* pSrc, Kiv64f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32f16s_Sfs(const Kiv32f* pSrc, Kiv16s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32f32s_Sfs(const Kiv32f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_64f32s_Sfs(const Kiv64f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);

KIVSR_END_DECLS

#endif
