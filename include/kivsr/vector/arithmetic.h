/* Sums, differences, products and extrema of two vectors. */
#ifndef KIVSR_VECTOR_ARITHMETIC_H
#define KIVSR_VECTOR_ARITHMETIC_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup arithmetic Elementwise arithmetic
 *
 * One result per element of vectors of len elements.
 *
 * | operation    | result                       | types         | in place      |
 * |--------------|------------------------------|---------------|---------------|
 * | Abs          | magnitude                    | 64f           |               |
 * | Add, Sub     | old + x, old - x             |               | 32f, 64f      |
 * | AddC, MulC   | x + val, x * val             | 32f; 64f MulC | MulC 32f, 64f |
 * | Mul          | x1 * x2                      | 32f, 16s Sfs  |               |
 * | MaxEvery     | the larger of x and old      |               | 32f           |
 * | MinEvery     | the smaller of x and old     |               | 32f, 32s      |
 *
 * Any alignment serves, and no result depends on it, on the length or on an element's position. pSrc and pDst do not
 * overlap; in the in-place forms with two arrays pSrc may be pSrcDst itself. Nothing is written on an error.
 *
 * Accuracy: exact, one correctly rounded operation per element.
 *
 * @code{.c}
 * const Kiv32f frame[3] = {1.0F, -2.0F, 4.0F};
 * const Kiv16s gain[3] = {16384, 16384, -32768}, samples[3] = {100, -101, 5000};  // gains 0.5, 0.5, -1 in Q15
 * Kiv32f sum[3] = {10.0F, 20.0F, 30.0F};
 * Kiv16s scaled[3];
 * assert(kivsAdd_32f_I(frame, sum, 3) == kivStatusOk);
 * assert(sum[0] == 11.0F && sum[1] == 18.0F && sum[2] == 34.0F);
 * assert(kivsMul_16s_Sfs(gain, samples, scaled, 3, 15) == kivStatusOk);
 * assert(scaled[0] == 50 && scaled[1] == -50 && scaled[2] == -5000);  // -50.5 goes to the even neighbour
 * @endcode
 * @{ */

/** @name Absolute values
 * @{ */
/** pDst[i] = |pSrc[i]|; the sign bit is cleared, that of a NaN too.
 * @param[in] pSrc len elements
 * @param[out] pDst len magnitudes
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsAbs_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
/** @} */

/** @name Sums and differences in place
 * @{ */
/** Add: pSrcDst[i] = pSrcDst[i] + pSrc[i]. Sub: pSrcDst[i] = pSrcDst[i] - pSrc[i]: the first argument is subtracted
 * from the second.
 * @param[in] pSrc len terms
 * @param[in,out] pSrcDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsAdd_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsAdd_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsSub_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsSub_64f_I(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
/** @} */

/** @name Constants
 * @{ */
/** AddC: pDst[i] = pSrc[i] + val; a val of zero, of either sign, copies. MulC: pDst[i] = pSrc[i] * val.
 * @param[in] pSrc len elements
 * @param[in] val the other term or factor
 * @param[out] pDst len results
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsAddC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMulC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMulC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len);
/** @} */

/** @name Constant factors in place
 * @{ */
/** pSrcDst[i] = pSrcDst[i] * val, where a val of 1 leaves the data untouched and a val of zero, of either sign, fills
 * with +0, infinities and NaN included.
 * @param[in] val the factor
 * @param[in,out] pSrcDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMulC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMulC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len);
/** @} */

/** @name Products
 * @{ */
/** 32f: pDst[i] = pSrc1[i] * pSrc2[i].
 *
 * 16s: pDst[i] = pSrc1[i] * pSrc2[i] * 2^-scaleFactor. The product is exact in 32 bits, then shifted right to nearest
 * with ties to even, or left, and saturated to -32768..32767. A scaleFactor above 30 gives 0 everywhere; one below -15
 * takes every product but zero to 32767 or -32768 by its sign. With both inputs in Q15, scaleFactor 15 gives Q15.
 * @param[in] pSrc1,pSrc2 len factors each
 * @param[out] pDst len products
 * @param[in] len number of elements
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMul_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsMul_16s_Sfs(const Kiv16s* pSrc1, const Kiv16s* pSrc2, Kiv16s* pDst, int len, int scaleFactor);
/** @} */

/** @name Larger and smaller of two vectors
 * @{ */
/** MaxEvery: pSrcDst[i] = pSrc[i] where pSrc[i] > pSrcDst[i], else unchanged: an equal pair and a NaN on either side
 * keep the OLD value. MinEvery: pSrcDst[i] unchanged where pSrcDst[i] < pSrc[i], else pSrc[i]: an equal pair and a NaN
 * on either side take pSrc[i]. The two differ on purpose (operand order of the processor's instructions).
 * @param[in] pSrc len elements
 * @param[in,out] pSrcDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMaxEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMinEvery_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsMinEvery_32s_I(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
