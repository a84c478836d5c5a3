/* Language-model scores: floor, scale and insertion penalty. */
#ifndef KIVSR_SCORING_LANGUAGE_MODEL_H
#define KIVSR_SCORING_LANGUAGE_MODEL_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup languagemodel Language-model scaling
 *
 * pDst[i] = max(pSrc[i], floor) * scale + offset, i < len: language-model log probabilities on the scale of acoustic
 * scores, offset the insertion penalty.
 *
 * 32f: single precision, two roundings; a NaN in pSrc counts as the floor.
 * 16s32s: the product is exact in 32 bits, the sum with the offset wraps around (no saturation).
 *
 * Statuses, in order: -8 a null pointer; -6 len < 1.
 * @{ */
KIVSR_API KivStatus kivsScaleLM_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f floor, Kiv32f scale,
                                    Kiv32f offset);
KIVSR_API KivStatus kivsScaleLM_16s32s(const Kiv16s* pSrc, Kiv32s* pDst, int len, Kiv16s floor, Kiv16s scale,
                                       Kiv32s offset);
/** @} */

KIVSR_END_DECLS

#endif
