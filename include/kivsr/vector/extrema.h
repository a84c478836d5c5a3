/* Extrema and their places. */
#ifndef KIVSR_VECTOR_EXTREMA_H
#define KIVSR_VECTOR_EXTREMA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup extrema Extrema
 *
 * The largest (smallest) element, in MinMax both, and in the Indx forms its place counted from 0.
 *
 * The search begins with element 0, and element i replaces the best so far only if it is strictly greater (smaller):
 * the FIRST of equal elements wins (0 and -0 are equal), a NaN inside is passed over, and a NaN in element 0 stays,
 * with index 0. All functions, at every length, agree on this. Nothing is written on an error.
 *
 * Accuracy: exact. The value is an element of pSrc, bit for bit.
 *
 * @code{.c}
 * const Kiv32f scores[5] = {-7.0F, -2.0F, NAN, -2.0F, -9.0F};
 * Kiv32f best, worst;
 * int state;
 * assert(kivsMaxIndx_32f(scores, 5, &best, &state) == kivStatusOk);
 * assert(best == -2.0F && state == 1);
 * assert(kivsMinMax_32f(scores, 5, &worst, &best) == kivStatusOk);
 * assert(worst == -9.0F && best == -2.0F);
 * @endcode
 * @{ */

/** @name Values
 * @{ */
/** @param[in] pSrc len elements
 * @param[in] len number of elements
 * @param[out] pMax,pMin one element each
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax);
KIVSR_API KivStatus kivsMax_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax);
KIVSR_API KivStatus kivsMin_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin);
KIVSR_API KivStatus kivsMin_64f(const Kiv64f* pSrc, int len, Kiv64f* pMin);
KIVSR_API KivStatus kivsMinMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, Kiv32f* pMax);
/** @} */

/** @name Values and places
 * @{ */
/** @param[in] pSrc len elements
 * @param[in] len number of elements
 * @param[out] pMax,pMin one element
 * @param[out] pIndx its place; may be null, then the value alone is written
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMaxIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMaxIndx_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMinIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, int* pIndx);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
