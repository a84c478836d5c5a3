/* Energy normalisation and signal conditioning. */
#ifndef KIVSR_FRONTEND_CONDITIONING_H
#define KIVSR_FRONTEND_CONDITIONING_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsNormEnergy_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f enScale);
KIVSR_API KivStatus kivsNormEnergy_RT_32f(Kiv32f* pSrcDst, int step, int height, Kiv32f silFloor, Kiv32f maxE, Kiv32f enScale);
KIVSR_API KivStatus kivsCompensateOffset_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f* pAddPrevFrameSample, Kiv32f prevFrameOut, Kiv32f val);
KIVSR_API KivStatus kivsCompensateOffset_32f_I(Kiv32f* pSrcDst, int len, Kiv32f* pAddPrevFrameSample, Kiv32f prevFrameOut, Kiv32f val);
KIVSR_API KivStatus kivsCompensateOffsetQ15_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s* pAddPrevFrameSample, Kiv16s prevFrameOut, Kiv16s val);
KIVSR_API KivStatus kivsCompensateOffsetQ15_16s_I(Kiv16s* pSrcDst, int len, Kiv16s* pAddPrevFrameSample, Kiv16s prevFrameOut, Kiv16s val);
KIVSR_API KivStatus kivsSignChangeRate_16s(const Kiv16s* pSrc, int len, Kiv32s* pRes);
KIVSR_API KivStatus kivsSignChangeRate_32f(const Kiv32f* pSrc, int len, Kiv32f* pRes);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f valMin, Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f_I(Kiv32f* pSrcDst, int len, Kiv32f valMin, Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f valMin, Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f valMin, Kiv32f valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv16s valMin, Kiv16s valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s_I(Kiv16s* pSrcDst, int len, Kiv16s valMin, Kiv16s valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRangeMinMax_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv16s valMin, Kiv16s valMax, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRange_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRange_32f_I(Kiv32f* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv32f range);
KIVSR_API KivStatus kivsNormalizeInRange_32f16s(const Kiv32f* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);
KIVSR_API KivStatus kivsNormalizeInRange_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_16s_I(Kiv16s* pSrcDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv16s range);
KIVSR_API KivStatus kivsNormalizeInRange_16s8u(const Kiv16s* pSrc, Kiv8u* pDst, int len, Kiv32f lowCoef, Kiv32f highCoef, Kiv8u range);

KIVSR_END_DECLS

#endif
