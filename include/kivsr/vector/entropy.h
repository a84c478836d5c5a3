/* Entropies. */
#ifndef KIVSR_VECTOR_ENTROPY_H
#define KIVSR_VECTOR_ENTROPY_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup entropy Entropy
 *
 * @code{.c}
 * const Kiv32f fair[4] = {0.25F, 0.25F, 0.25F, 0.25F};
 * const Kiv16s coin[2] = {16384, 16384};  // 0.5 in Q15
 * Kiv32f bits;
 * Kiv32s q15;
 * assert(kivsEntropy_32f(fair, 4, &bits) == kivStatusOk && fabs(bits + 2) < 1e-5);
 * assert(kivsEntropy_16s32s_Sfs(coin, 2, &q15, -15) == kivStatusOk && q15 == -32768);
 * @endcode
 * @{ */

/** @name Entropy of a probability vector
 * @{ */
/** *pResult = sum of p log2(p) over the elements p > 0; zeros add nothing. There is NO minus sign: the result is zero
 * or negative for a probability vector, the entropy in bits with its sign reversed.
 *
 * - 32f: terms p ln(p) are added one after the other in single precision, the sum divided by ln 2 = 0.6931472F. A
 *   negative or NaN element stops the loop: the result is NaN. Accuracy: reduction(2 len).
 * - 16s32s: probabilities in Q15 (32768 would be 1). The sum is formed in double precision, multiplied by
 *   2^-scaleFactor, rounded to nearest with ties to even and saturated: scaleFactor -15 gives Q15 bits. A negative
 *   element gives -2147483648.
 * @param[in] pSrc len probabilities
 * @param[in] len number of elements
 * @param[out] pResult one sum
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1. Warning: kivStatusNanResult, an element is negative (32f: or
 * NaN) */
KIVSR_API KivStatus kivsEntropy_32f(const Kiv32f* pSrc, int len, Kiv32f* pResult);
KIVSR_API KivStatus kivsEntropy_16s32s_Sfs(const Kiv16s* pSrc, int len, Kiv32s* pResult, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
