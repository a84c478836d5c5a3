/* Language-model scaling. */
#ifndef KIVSR_TRAINING_LANGUAGE_MODEL_H
#define KIVSR_TRAINING_LANGUAGE_MODEL_H

#include "../types.h"

KIVSR_BEGIN_DECLS

KIVSR_API KivStatus kivsScaleLM_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f floor, Kiv32f scale, Kiv32f offset);
KIVSR_API KivStatus kivsScaleLM_16s32s(const Kiv16s* pSrc, Kiv32s* pDst, int len, Kiv16s floor, Kiv16s scale, Kiv32s offset);

KIVSR_END_DECLS

#endif
