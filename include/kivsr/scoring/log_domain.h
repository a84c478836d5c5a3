/* Log-domain arithmetic: adding, summing and subtracting probabilities that are kept as natural logarithms. */
#ifndef KIVSR_SCORING_LOG_DOMAIN_H
#define KIVSR_SCORING_LOG_DOMAIN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup logdomain Log-domain arithmetic
 *
 * ln(e^a + e^b) = max + f(d), d = min - max <= 0, f(d) = ln(1 + e^d).
 *
 *  - Cut-off: if d < -15.3195879547406 the smaller term is dropped. A d of exactly this value is not.
 *  - Log zero: -4500000 stands for probability zero. It is the floor of a result whose smaller term was dropped, and of
 *    a difference that is too small to tell; elsewhere smaller values pass. It is not absorbing: two log zeros add up
 *    to -4500000 + ln 2.
 *  - f is a polynomial on each of three intervals. Degree 10, error below 5e-9, in single-precision and integer
 *    functions (intervals d > -2.55, d > -6.8, the rest); degree 21, error below 1e-14, in 64-bit functions (d > -3.5,
 *    d > -9, the rest).
 *  - A NaN on either side gives NaN, and so do two infinities of the same sign. -infinity and a finite value give the
 *    finite value, not below the log zero.
 *
 * Integer forms: an element v with scale factor s stands for the logarithm v 2^-s; s is clamped to -1024 .. 1087.
 *
 * Accuracy: log-domain. See each group.
 *
 * Statuses of all but the queries, in order: -6 len < 1; -8 a null pointer; and of log-subtraction -7.
 * Arrays must not overlap.
 * @{ */

/** pSrcDst[i] = ln(e^pSrc[i] + e^pSrcDst[i]), i < len.
 *
 * The hint selects the evaluation of the 32-bit and the integer forms: kivLogAddHintAc in double precision (error half
 * a unit in the last place and 5e-9), kivLogAddHintSp in single precision (two units in the last place of the larger
 * term, or of 1 if that is larger), kivLogAddHintFpu in extended precision, last element first. The 64-bit form
 * evaluates in double precision for all three. With any other hint nothing is computed and the status is 0: the
 * floating-point forms leave pSrcDst as it is, the integer forms write back what became of it on the way to single
 * precision and back.
 *
 * Integer forms: both elements are converted to single precision and multiplied by 2^-scaleFactor; the result times
 * 2^scaleFactor is rounded to nearest, ties to even, and saturated; a NaN gives the smallest integer.
 * @{ */
KIVSR_API KivStatus kivsLogAdd_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogAdd_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogAdd_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor,
                                       KivLogAddHint hint);
KIVSR_API KivStatus kivsLogAdd_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor,
                                       KivLogAddHint hint);
/** @} */

/** *pDst = ln(sum of e^pSrc[i]), i < len: the running log-addition from the first element to the last, each element
 * subject to the cut-off against the sum of those before it. len = 1 copies.
 *
 * The value differs from that of the running log-addition in the rounding of its running value only, at most len / 2
 * units in the last place of the result, or of 1 if that is larger; it is nearer to the true sum of the terms that are
 * kept. Where an element is not finite or lies below the log zero it is the running log-addition itself, rounded to
 * the type of the result after every step.
 *
 * Integer forms: the sum is formed in single precision, divided by 2^-scaleFactor, truncated towards zero and
 * saturated; a NaN gives the smallest integer.
 * @{ */
KIVSR_API KivStatus kivsLogSum_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsLogSum_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsLogSum_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLogSum_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int len, int scaleFactor);
/** @} */

/** pSrcDst[i] = ln(e^pSrc[i] - e^pSrcDst[i]), i < len: pSrc[i] + ln(1 - e^d), d = pSrcDst[i] - pSrc[i] < 0.
 *
 * d below the cut-off gives pSrc[i], not below the log zero; 1 - e^d not above 1.0057e-37 gives the log zero. The
 * difference d is rounded to the element type, the rest is computed in double precision; near d = 0 the result has the
 * error of 1 - e^d, and it is not vectorised.
 *
 * Integer forms: computed in double precision throughout, divided by 2^-scaleFactor, truncated towards zero and
 * saturated.
 *
 * Third status: -7 some pSrcDst[i] - pSrc[i] >= 0 (every element is tested before anything is written; a NaN passes
 * and gives NaN).
 * @{ */
KIVSR_API KivStatus kivsLogSub_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsLogSub_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsLogSub_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLogSub_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor);
/** @} */

/** The coefficient tables of f, constant arrays that belong to the library: coefficients of the powers of u, highest
 * power first, then the constant term. No pointer may be null.
 *
 * GetLogAddConst: the degree-21 set, 24 values each: 21 coefficients, the constant, two zeros; u = d, d + 3.5, d + 9.
 * GetLogAddConst_F: the degree-10 set, 12 values each: 10 coefficients, the constant, and a last word that is zero in
 * *p1 and *p2 and the cut-off in *p3; u = d, d + 2.55, d + 6.8.
 * @{ */
KIVSR_API void GetLogAddConst(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3);
KIVSR_API void GetLogAddConst_F(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
