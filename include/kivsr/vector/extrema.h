/* Extrema and their places. */
#ifndef KIVSR_VECTOR_EXTREMA_H
#define KIVSR_VECTOR_EXTREMA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup reductions_extrema Extrema
 *
 * The largest (smallest) element, in MinMax both, and in the Indx forms its place counted from 0.
 *
 * The search begins with element 0, and element i replaces the best so far only if it is strictly greater (smaller):
 * the FIRST of equal elements wins (0 and -0 are equal), a NaN inside is passed over, and a NaN in element 0 stays,
 * with index 0. All functions, at every length, agree on this. pIndx may be null: then the value alone is written.
 *
 * Accuracy: exact. *pMax is an element of pSrc, bit for bit.
 * @{ */
KIVSR_API KivStatus kivsMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax);
KIVSR_API KivStatus kivsMax_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax);
KIVSR_API KivStatus kivsMin_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin);
KIVSR_API KivStatus kivsMin_64f(const Kiv64f* pSrc, int len, Kiv64f* pMin);
KIVSR_API KivStatus kivsMinMax_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, Kiv32f* pMax);
KIVSR_API KivStatus kivsMaxIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMaxIndx_64f(const Kiv64f* pSrc, int len, Kiv64f* pMax, int* pIndx);
KIVSR_API KivStatus kivsMinIndx_32f(const Kiv32f* pSrc, int len, Kiv32f* pMin, int* pIndx);
/** @} */

KIVSR_END_DECLS

#endif
