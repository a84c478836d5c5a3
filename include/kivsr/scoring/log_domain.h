/* Log-domain arithmetic: adding, summing and subtracting probabilities that are kept as natural logarithms. */
#ifndef KIVSR_SCORING_LOG_DOMAIN_H
#define KIVSR_SCORING_LOG_DOMAIN_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup logdomain Log-domain arithmetic
 *
 *     ln(e^a + e^b) = max + f(d),  d = min - max <= 0,  f(d) = ln(1 + e^d)
 *
 * - Cut-off: if d < -15.3195879547406 the smaller term is dropped. A d of exactly this value is not.
 * - f is a polynomial on each of three intervals. Degree 10, error below 5e-9, in single-precision and integer
 *   functions (intervals d > -2.55, d > -6.8, the rest); degree 21, error below 1e-14, in 64-bit functions (d > -3.5,
 *   d > -9, the rest).
 * - A NaN on either side gives NaN, and so do two infinities of the same sign. -infinity and a finite value give the
 *   finite value, not below the log zero.
 *
 * The log zero, kivLogZero = -4500000, stands for the logarithm of probability zero. It is a number like others, not an
 * absorbing one, and a floor only where an operation decides that a term does not matter:
 *
 * | operation       | log zero as an input                      | log zero as a result                               |
 * |-----------------|-------------------------------------------|----------------------------------------------------|
 * | log-addition    | dropped beside a usual score; two of them | the least result where a term is dropped; where    |
 * | ^               | give kivLogZero + ln 2                    | both are kept a result may be lower                |
 * | log-summation   | the same, element after element           | the same; len = 1 copies                           |
 * | log-subtraction | subtracted from a usual score it changes  | values too close to tell, 1 - e^d <= 1.0057e-37,   |
 * | ^               | nothing                                   | and the least result where d is below the cut-off  |
 *
 * | types                  | log-addition | log-summation                | log-subtraction                          |
 * |------------------------|--------------|------------------------------|------------------------------------------|
 * | 64f                    | double       | double                       | double                                   |
 * | 32f                    | by the hint  | single                       | difference in single, the rest in double |
 * | 32s_Sfs, 16s_Sfs       | by the hint  | single; to 6 elements double | double                                   |
 *
 * Scale factors below -1023 make the multiplier infinite, above 1074 zero. Arrays must not overlap. Errors write
 * nothing.
 *
 * @code{.c}
 * const Kiv32f path[2] = {-10, -20};
 * Kiv32f total[2] = {-11, kivLogZero}, all;
 * assert(kivsLogAdd_32f(path, total, 2, kivLogAddHintAc) == kivStatusOk);
 * assert(fabs(total[0] - log(exp(-10.0) + exp(-11.0))) < 1e-6 && total[1] == -20);
 * assert(kivsLogSum_32f(path, &all, 2) == kivStatusOk && fabs(all - log(exp(-10.0) + exp(-20.0))) < 2e-6);
 * assert(kivsLogSub_32f(&all, &total[1], 1) == kivStatusOk);  // what is left without the second path
 * assert(fabs(total[1] + 10) < 1e-5);
 * @endcode
 * @{ */

/** @name Log-addition
 * @{ */
/** pSrcDst[i] = ln(e^pSrc[i] + e^pSrcDst[i]).
 *
 * The hint selects the evaluation of the 32-bit and the integer forms: kivLogAddHintAc in double precision (error half
 * a unit in the last place and 5e-9), kivLogAddHintSp in single precision (two units in the last place of the larger
 * term, or of 1 if that is larger; two to three times as fast), kivLogAddHintFpu in extended precision, last element
 * first. The 64-bit form evaluates in double precision for all three. With any other hint nothing is computed and the
 * status is kivStatusOk: the floating-point forms leave pSrcDst as it is, the integer forms write back what became of
 * it on the way to single precision and back.
 *
 * Integer forms: both elements are converted to single precision and multiplied by 2^-scaleFactor; the result times
 * 2^scaleFactor is rounded to nearest, ties to even, and saturated; a NaN gives the smallest integer.
 *
 * @param[in] pSrc len logarithms
 * @param[in,out] pSrcDst len logarithms, then sums
 * @param[in] len number of elements
 * @param[in] scaleFactor an element v stands for v 2^-scaleFactor
 * @param[in] hint kivLogAddHintAc, kivLogAddHintSp or kivLogAddHintFpu
 * @return kivStatusBadSize: len < 1; kivStatusNullPointer */
KIVSR_API KivStatus kivsLogAdd_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogAdd_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len, KivLogAddHint hint);
KIVSR_API KivStatus kivsLogAdd_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor,
                                       KivLogAddHint hint);
KIVSR_API KivStatus kivsLogAdd_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor,
                                       KivLogAddHint hint);
/** @} */

/** @name Log-summation
 * @{ */
/** *pDst = ln(sum of e^pSrc[i]): the running log-addition from the first element to the last, each element subject to
 * the cut-off against the sum of those before it. len = 1 copies.
 *
 * The value differs from that of the running log-addition in the rounding of its running value only, at most len / 2
 * units in the last place of the result, or of 1 if that is larger; it is nearer to the true sum of the terms that are
 * kept. Where an element is not finite or lies below the log zero it is the running log-addition itself, rounded to
 * the type of the result after every step.
 *
 * Integer forms: the sum is formed in single precision, divided by 2^-scaleFactor, truncated towards zero and
 * saturated; a NaN gives the smallest integer.
 *
 * @param[in] pSrc len logarithms
 * @param[out] pDst the logarithm of the sum
 * @param[in] len number of elements
 * @param[in] scaleFactor an element v stands for v 2^-scaleFactor
 * @return kivStatusBadSize: len < 1; kivStatusNullPointer */
KIVSR_API KivStatus kivsLogSum_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsLogSum_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsLogSum_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLogSum_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int len, int scaleFactor);
/** @} */

/** @name Log-subtraction
 * @{ */
/** pSrcDst[i] = ln(e^pSrc[i] - e^pSrcDst[i]) = pSrc[i] + ln(1 - e^d), d = pSrcDst[i] - pSrc[i] < 0.
 *
 * d below the cut-off gives pSrc[i], not below the log zero; 1 - e^d not above 1.0057e-37 gives the log zero. Near d =
 * 0 the result has the error of 1 - e^d. Not vectorised. Integer results are divided by 2^-scaleFactor, truncated
 * towards zero and saturated.
 *
 * @param[in] pSrc len logarithms
 * @param[in,out] pSrcDst len logarithms below those of pSrc, then differences
 * @param[in] len number of elements
 * @param[in] scaleFactor an element v stands for v 2^-scaleFactor
 * @return kivStatusBadSize: len < 1; kivStatusNullPointer; kivStatusOutOfRange: some pSrcDst[i] - pSrc[i] >= 0 (every
 * element is tested before anything is written; a NaN passes and gives NaN) */
KIVSR_API KivStatus kivsLogSub_64f(const Kiv64f* pSrc, Kiv64f* pSrcDst, int len);
KIVSR_API KivStatus kivsLogSub_32f(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
KIVSR_API KivStatus kivsLogSub_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pSrcDst, int len, int scaleFactor);
KIVSR_API KivStatus kivsLogSub_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pSrcDst, int len, int scaleFactor);
/** @} */

/** @name Tables
 * @{ */
/** The coefficient tables of f, one for each interval, constant arrays that belong to the library: coefficients of the
 * powers of u, highest power first, then the constant term. No pointer may be null.
 *
 * GetLogAddConst: the degree-21 set, 24 values each: 21 coefficients, the constant, two zeros; u = d, d + 3.5, d + 9.
 * GetLogAddConst_F: the degree-10 set, 12 values each: 10 coefficients, the constant, and a last word that is zero in
 * *p1 and *p2 and the cut-off in *p3; u = d, d + 2.55, d + 6.8.
 *
 * @param[out] p1 table of the interval that ends at d = 0
 * @param[out] p2 table of the middle interval
 * @param[out] p3 table of the interval that starts at the cut-off */
KIVSR_API void GetLogAddConst(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3);
KIVSR_API void GetLogAddConst_F(const Kiv64f** p1, const Kiv64f** p2, const Kiv64f** p3);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
