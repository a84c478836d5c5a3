/* Delta and acceleration coefficients. */
#ifndef KIVSR_FRONTEND_DELTA_H
#define KIVSR_FRONTEND_DELTA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsEvalDelta_32f_D2(Kiv32f* pSrcDst, int height, int step, int width, int offset, int winSize, Kiv32f val);
KIVSR_API KivStatus kivsEvalDeltaMul_32f_D2(Kiv32f* pSrcDst, int height, int step, const Kiv32f* pVal, int width, int offset, int winSize);
KIVSR_API KivStatus kivsDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f val, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f valD, Kiv32f valDD, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f val, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height, Kiv32f valD, Kiv32f valDD, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst, int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Aurora_32f_D2(const Kiv32f* pSrc, Kiv32f* pDst, int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDeltaMul_Aurora_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, Kiv32f* pDst, int dstStep, int height, int mode);
KIVSR_API KivStatus kivsEvalDelta_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, int width, int offset, int winSize, Kiv16s val, int scaleFactor);
KIVSR_API KivStatus kivsEvalDeltaMul_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, const Kiv16s* pVal, int width, int offset, int winSize, int scaleFactor);
KIVSR_API KivStatus kivsDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height, Kiv16s val, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height, Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height, Kiv16s val, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height, Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst, int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaDelta_Aurora_16s_D2Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaDeltaMul_Aurora_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, Kiv16s* pDst, int dstStep, int height, int mode, int scaleFactor);

KIVSR_END_DECLS

#endif
