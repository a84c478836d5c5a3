/* Reflection-coefficient features. */
#ifndef KIVSR_FRONTEND_REFLECTION_H
#define KIVSR_FRONTEND_REFLECTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsReflectionToAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToLAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f threshold);
KIVSR_API KivStatus kivsReflectionToTrueAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToAbsTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsReflectionToLAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len, Kiv32f threshold, int scaleFactor);
KIVSR_API KivStatus kivsReflectionToTrueAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsReflectionToTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsReflectionToAbsTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len, int scaleFactor);

KIVSR_END_DECLS

#endif
