/* Language-model scores: floor, scale and insertion penalty. */
#ifndef KIVSR_SCORING_LANGUAGE_MODEL_H
#define KIVSR_SCORING_LANGUAGE_MODEL_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup languagemodel Language-model scaling
 *
 * Log probabilities of words on the scale of acoustic scores.
 *
 * @code{.c}
 * const Kiv32f log_probability[3] = {-2, -30, -7.5F};
 * Kiv32f score[3];
 * assert(kivsScaleLM_32f(log_probability, score, 3, -20, 9.5F, -1) == kivStatusOk);
 * assert(score[0] == -20 && score[1] == -191 && score[2] == -72.25F);  // the second word is floored
 * @endcode
 * @{ */

/** @name Floor, scale, offset
 * @{ */
/** pDst[i] = max(pSrc[i], floor) * scale + offset.
 *
 * 32f: single precision, two roundings; a NaN in pSrc counts as the floor. 16s32s: the product is exact in 32 bits, the
 * sum with the offset wraps around (no saturation). Accuracy: exact.
 *
 * @param[in] pSrc len log probabilities
 * @param[out] pDst len scores
 * @param[in] len number of scores
 * @param[in] floor lowest log probability, in units of pSrc
 * @param[in] scale language-model scale
 * @param[in] offset insertion penalty, in units of pDst
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsScaleLM_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f floor, Kiv32f scale,
                                    Kiv32f offset);
KIVSR_API KivStatus kivsScaleLM_16s32s(const Kiv16s* pSrc, Kiv32s* pDst, int len, Kiv16s floor, Kiv16s scale,
                                       Kiv32s offset);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
