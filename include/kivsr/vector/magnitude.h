/* Magnitudes of complex vectors. */
#ifndef KIVSR_VECTOR_MAGNITUDE_H
#define KIVSR_VECTOR_MAGNITUDE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup magnitude Magnitudes of complex vectors
 *
 * @code{.c}
 * const Kiv32fc spectrum[2] = {{3.0F, -4.0F}, {3e38F, 0.0F}};  // no square overflows
 * const Kiv32sc integers[1] = {{3000, 4000}};
 * Kiv32f magnitudes[2];
 * Kiv32s halves[1];
 * assert(kivsMagnitude_32fc(spectrum, magnitudes, 2) == kivStatusOk);
 * assert(magnitudes[0] == 5.0F && magnitudes[1] == 3e38F);
 * assert(kivsMagnitude_32sc_Sfs(integers, halves, 1, 1) == kivStatusOk && halves[0] == 2500);
 * @endcode
 * @{ */

/** @name Magnitude
 * @{ */
/** pDst[i] = sqrt(re^2 + im^2) of pSrc[i]. The arrays do not overlap; nothing is written on an error.
 * - 32fc: no square overflows or underflows, so that the result is finite and accurate wherever it fits 32f. NaN in
 *   either part gives NaN. Accuracy: last-bit(1.5).
 * - 32sc: the true root times 2^-scaleFactor, to nearest with ties to even and saturated. Accuracy: exact.
 * @param[in] pSrc len complex numbers
 * @param[out] pDst len magnitudes
 * @param[in] len number of elements
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMagnitude_32fc(const Kiv32fc* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMagnitude_32sc_Sfs(const Kiv32sc* pSrc, Kiv32s* pDst, int len, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
