/* Linear prediction. */
#ifndef KIVSR_FRONTEND_LINEAR_PREDICTION_H
#define KIVSR_FRONTEND_LINEAR_PREDICTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsAutoCorr_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pDst, int dstLen);
KIVSR_API KivStatus kivsDurbin_32f(const Kiv32f* pAutoCorr, Kiv32f* pLPC, int order, Kiv32f* pErr);
KIVSR_API KivStatus kivsSchur_32f(const Kiv32f* pAutoCorr, Kiv32f* pRefl, int order, Kiv32f* pErr);
KIVSR_API KivStatus kivsLinearPrediction_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order);
KIVSR_API KivStatus kivsLinearPredictionNeg_Auto_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pLPC, int order);
KIVSR_API KivStatus kivsLPToReflection_32f(const Kiv32f* pLPC, Kiv32f* pRefl, int order);
KIVSR_API KivStatus kivsLPToCepstrum_32f(const Kiv32f* pLPC, Kiv32f* pCep, int len);

KIVSR_END_DECLS

#endif
