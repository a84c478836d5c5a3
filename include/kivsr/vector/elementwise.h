/* Elementwise operations and conversions. */
#ifndef KIVSR_VECTOR_ELEMENTWISE_H
#define KIVSR_VECTOR_ELEMENTWISE_H

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

/** @defgroup elementwise_division Division
 *
 * Div: pDst[i] = pSrc2[i] / pSrc1[i]: the FIRST source holds the divisors. In place pSrcDst[i] = pSrcDst[i] / pSrc[i].
 * Where the divisor is zero (of either sign) the result is +inf for a positive numerator, -inf for a negative one and
 * NaN for a zero or a NaN; all elements are written and the call returns the warning 6.
 *
 * DivC: pDst[i] = pSrc[i] * (1 / val), the reciprocal rounded once; in place pSrcDst[i] likewise, where a val of 1
 * leaves the data untouched and an infinite one fills with +0. The reciprocal of a subnormal val is infinite.
 *
 * Accuracy: kivsDiv_32f and kivsDiv_32f_I correct the processor's estimate of 1/d once, n r (1 + e + e^2) with
 * e = 1 - d r: estimate, about 22 bits, not the same bits on every processor. A divisor whose estimate is of no use
 * (subnormal, above 2^126 or infinite) is divided exactly, and so are its neighbours where a divisor is zero.
 * kivsDiv_64f is exact (correctly rounded). DivC: within 1 unit in the last place, two roundings.
 *
 * Further statuses: Div 6, a zero divisor was met (warning). DivC -10, val is zero or NaN.
 * @{ */
KIVSR_API KivStatus kivsDiv_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDiv_64f(const Kiv64f* pSrc1, const Kiv64f* pSrc2, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDiv_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsDivC_32f(const Kiv32f* pSrc, Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsDivC_64f(const Kiv64f* pSrc, Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsDivC_32f_I(Kiv32f val, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsDivC_64f_I(Kiv64f val, Kiv64f* pSrcDst, int len);
/** @} */

/** @defgroup elementwise_roots Square roots
 *
 * Sqrt: pSrcDst[i] = sqrt(pSrcDst[i]); negative elements give NaN and the warning 3, -0 stays, NaN stays without a
 * warning. Exact (correctly rounded).
 *
 * RecSqrt: 1 / sqrt(x) where x > val, val elsewhere (NaN included): the inverse root of a spectrum or variance with a
 * floor. The call returns the warning 4 when every element was replaced by val.
 * - 32f, in place: estimate, one Newton step r (3 - x r r) / 2 on the processor's estimate r, about 22 bits. Infinite x
 *   gives 0, subnormal x (above a subnormal val) its true value.
 * - 32s_Sfs, in place, and 32s16s_Sfs: 2^-scaleFactor / sqrt(x) to nearest with ties to even and saturated; val is
 *   stored as it is (32s16s: saturated). Take scaleFactor negative, to get fractional bits.
 *
 * Further statuses: Sqrt 3, a negative element (warning). RecSqrt -5, val is not above 0 (or NaN); 4, every element
 * was replaced (warning).
 * @{ */
KIVSR_API KivStatus kivsSqrt_64f_I(Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsRecSqrt_32f(Kiv32f* pSrcDst, int len, Kiv32f val);
KIVSR_API KivStatus kivsRecSqrt_32s_Sfs(Kiv32s* pSrcDst, int len, Kiv32s val, int scaleFactor);
KIVSR_API KivStatus kivsRecSqrt_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, Kiv32s val, int scaleFactor);
/** @} */

/** @defgroup elementwise_logarithm Natural logarithm
 *
 * pSrcDst[i] = ln(pSrcDst[i]); the integer forms ln(x) * 2^-scaleFactor to nearest and saturated (scaleFactor -16
 * gives Q16).
 *
 * Zero (and -0) gives -inf, a negative number or NaN gives NaN, +inf stays; in the integer forms zero and negative
 * numbers give -2147483648. A call that met a zero returns the warning 7; else one that met a negative or a NaN
 * returns 8. All elements are computed.
 *
 * Accuracy: last-bit(1) in 32f, subnormals included. The integer forms round the double-precision product.
 * Source: polynomial of the Cephes library, logf.
 *
 * Further statuses: 7, a zero was met (warning); 8, a negative or NaN and no zero (warning).
 * @{ */
KIVSR_API KivStatus kivsLn_32f_I(Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsLn_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLn_32s_ISfs(Kiv32s* pSrcDst, int len, int scaleFactor);
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

/** @defgroup elementwise_copies Copies and fills
 *
 * Copy: pDst[i] = pSrc[i]; the arrays must not overlap.
 * Move: the same, correct for arrays that overlap in any way.
 * Set: pDst[i] = val. Zero: pDst[i] = 0.
 *
 * Accuracy: exact, every bit of a NaN included.
 * @{ */
KIVSR_API KivStatus kivsCopy_8u(const Kiv8u* pSrc, Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsCopy_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsCopy_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsMove_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSet_8u(Kiv8u val, Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsSet_16s(Kiv16s val, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsSet_32s(Kiv32s val, Kiv32s* pDst, int len);
KIVSR_API KivStatus kivsSet_32f(Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSet_64f(Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsZero_8u(Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsZero_16s(Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsZero_32f(Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsZero_64f(Kiv64f* pDst, int len);
/** @} */

/** @defgroup elementwise_to_float Conversion to floating point
 *
 * pDst[i] = pSrc[i], with Sfs pSrc[i] * 2^-scaleFactor. scaleFactor is clamped to -112..126; scaleFactor 15 turns Q15
 * into numbers in [-1, 1).
 *
 * Accuracy: exact where the destination can hold the value (8u, 16s); 32s and 64f sources round to nearest with ties to
 * even, whatever rounding mode the caller has set. A 64f beyond the range of 32f gives an infinity.
 * @{ */
KIVSR_API KivStatus kivsConvert_8u32f(const Kiv8u* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f(const Kiv16s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_32s32f(const Kiv32s* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_64f32f(const Kiv64f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsConvert_16s32f_Sfs(const Kiv16s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32s32f_Sfs(const Kiv32s* pSrc, Kiv32f* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_16s64f_Sfs(const Kiv16s* pSrc, Kiv64f* pDst, int len, int scaleFactor);
/** @} */

/** @defgroup elementwise_to_integer Conversion to integers
 *
 * pDst[i] = pSrc[i] * 2^-scaleFactor, rounded and saturated to the destination.
 *
 * - From 32f and 64f: the factor is formed in single precision, also for 64f data; it is 0 for a scaleFactor above 149
 *   and infinite for one below -127. rndMode kivRndZero (0) truncates, every other value (kivRndNear) rounds to
 *   nearest with ties to even, whatever rounding mode the caller has set; the caller's mode is in force again on
 * return. NaN, and 0 times an infinite factor, give the lowest value of the destination.
 * - From 32s: a scaleFactor above 0 (31 at most counts) shifts right to nearest with ties to even, one below 0 (-15 at
 *   least counts) shifts left.
 *
 * Accuracy: exact.
 * @{ */
KIVSR_API KivStatus kivsConvert_32s16s_Sfs(const Kiv32s* pSrc, Kiv16s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32f16s_Sfs(const Kiv32f* pSrc, Kiv16s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_32f32s_Sfs(const Kiv32f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);
KIVSR_API KivStatus kivsConvert_64f32s_Sfs(const Kiv64f* pSrc, Kiv32s* pDst, int len, int rndMode, int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
