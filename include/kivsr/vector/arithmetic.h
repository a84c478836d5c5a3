/* Sums, differences, products and extrema of two vectors. */
#ifndef KIVSR_VECTOR_ARITHMETIC_H
#define KIVSR_VECTOR_ARITHMETIC_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup elementwise Elementwise operations
 *
 * One result per element of vectors of len elements. pSrc, pSrc1 and pSrc2 are read, pDst is written, pSrcDst is both.
 *
 * Statuses, in order: -8 a null pointer; -6 len < 1; then what each group names. Nothing is written on an error; a
 * warning (positive) comes with every element written.
 *
 * Aliasing: pSrc and pDst do not overlap, unless the function says so; in the in-place forms with two arrays (Add,
 * Sub, Div, MaxEvery, MinEvery) pSrc may be pSrcDst itself.
 *
 * Any alignment serves, and no result depends on it, on the length or on an element's position, except in the groups
 * of kivsDiv_32f. A scaleFactor may be any int; scaled integer results are x * 2^-scaleFactor.
 */

/** @defgroup elementwise_arithmetic Sums, differences, products
 *
 * Add: pSrcDst[i] = pSrcDst[i] + pSrc[i].
 * Sub: pSrcDst[i] = pSrcDst[i] - pSrc[i]: the first argument is subtracted from the second.
 * Abs: pDst[i] = |pSrc[i]|; the sign bit is cleared, that of a NaN too.
 * AddC: pDst[i] = pSrc[i] + val. A val of zero (of either sign) copies.
 * Mul: pDst[i] = pSrc1[i] * pSrc2[i].
 * MulC: pDst[i] = pSrc[i] * val; in place pSrcDst[i] = pSrcDst[i] * val, where a val of 1 leaves the data untouched
 * and a val of zero (of either sign) fills with +0, infinities and NaN included.
 *
 * Accuracy: exact, one correctly rounded operation per element.
 * @{ */
KIVSR_API KivStatus kivsAbs_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsAdd_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsAdd_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsSub_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsSub_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsAddC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMul_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMulC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMulC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsMulC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMulC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len);
/** @} */

/** @defgroup elementwise_multiply_words 16-bit products
 *
 * pDst[i] = pSrc1[i] * pSrc2[i] * 2^-scaleFactor. The product is exact in 32 bits, then shifted right to nearest with
 * ties to even, or left, and saturated to -32768..32767. A scaleFactor above 30 gives 0 everywhere; one below -15 takes
 * every product but zero to 32767 or -32768 by its sign. With both inputs in Q15, scaleFactor 15 gives Q15.
 *
 * Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsMul_16s_Sfs(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len, int scaleFactor);
/** @} */

/** @defgroup elementwise_extrema Larger and smaller of two vectors
 *
 * MaxEvery: pSrcDst[i] = pSrc[i] where pSrc[i] > pSrcDst[i], else unchanged: an equal pair and a NaN on either side
 * keep the OLD value. MinEvery: pSrcDst[i] unchanged where pSrcDst[i] < pSrc[i], else pSrc[i]: an equal pair and a NaN
 * on either side take pSrc[i]. The two differ on purpose (operand order of the processor's instructions).
 *
 * Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsMaxEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMinEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMinEvery_32s_I(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len);
/** @} */

KIVSR_END_DECLS

#endif
