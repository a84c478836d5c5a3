/* Magnitudes of complex vectors. */
#ifndef KIVSR_VECTOR_MAGNITUDE_H
#define KIVSR_VECTOR_MAGNITUDE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup reductions_magnitude Magnitudes of complex vectors
 *
 * pDst[i] = sqrt(re^2 + im^2) of pSrc[i]; len complex numbers give len results. pSrc and pDst do not overlap.
 * - 32fc: no square overflows or underflows, so that the result is finite and accurate wherever it fits 32f. NaN in
 *   either part gives NaN. Accuracy: last-bit(1.5).
 * - 32sc_Sfs: the true root times 2^-scaleFactor, to nearest with ties to even and saturated. Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsMagnitude_32fc(const Kiv32fc* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMagnitude_32sc_Sfs(const Kiv32sc* pSrc, Kiv32s* pDst, int len, int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
