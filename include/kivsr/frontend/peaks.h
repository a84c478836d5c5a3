/* Peaks of a sequence. */
#ifndef KIVSR_FRONTEND_PEAKS_H
#define KIVSR_FRONTEND_PEAKS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup peaks Peaks of a sequence
 *
 * Elements that stand out from their surroundings: pulses of a laryngograph, candidates of a correlation function,
 * onsets of an energy contour.
 *
 * @code{.c}
 * const Kiv32s x[8] = {0, 3, 1, 1, 7, 7, 2, 5};
 * Kiv8u peak[8];
 * assert(kivsFindPeaks_32s8u(x, peak, 8, 2, 0) == kivStatusOk);
 * assert(peak[1] == 1 && peak[4] == 1 && peak[5] == 0 && peak[7] == 0);
 * @endcode
 * @{ */

/** @name Elements that are the largest within reach
 * @{ */
/** Elements that are the largest within reach and above the average of their surroundings. dst[i] = 1 where
 *
 *     x[i] > x[j] for i - reach <= j < i,    x[i] >= x[j] for i < j <= i + reach,
 *     (2 average + 1) x[i] > sum of x[j] for i - average <= j <= i + average
 *
 * and 0 elsewhere; elements outside the sequence limit nothing and add nothing, and with an average of 0 the last
 * condition is not asked. Of equal elements within reach the first is the peak. Sums of integers are exact, of floats
 * in double precision; a NaN is no peak, and nothing is a peak that has one within reach.
 *
 * Time grows as len times the logarithm of reach, and with `average` for each element that is the largest.
 * @param[in] pSrc x, len elements
 * @param[out] pDst len flags
 * @param[in] len 1 .. 65535
 * @param[in] reach elements on either side that a peak is compared with, at least 1
 * @param[in] average elements on either side that are averaged, at least 0
 * @return kivStatusNullPointer; kivStatusBadLength: len < 1 or len > 65535; kivStatusBadArgument: reach < 1 or
 * average < 0 */
KIVSR_API KivStatus kivsFindPeaks_32s8u(const Kiv32s* pSrc, Kiv8u* pDst, int len, int reach, int average);
KIVSR_API KivStatus kivsFindPeaks_32f8u(const Kiv32f* pSrc, Kiv8u* pDst, int len, int reach, int average);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
