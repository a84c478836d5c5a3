/* Reflection-coefficient features. */
#ifndef KIVSR_FRONTEND_REFLECTION_H
#define KIVSR_FRONTEND_REFLECTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup reflection Reflection-coefficient features
 *
 * Features of len reflection coefficients k, element by element:
 *
 * | name    | result                                            | meaning                                      |
 * |---------|---------------------------------------------------|----------------------------------------------|
 * | AR      | (1 - k[i]) / (1 + k[i])                           | area ratio of neighbouring sections of a tube |
 * | LAR     | ln of AR, k[i] clamped to [-threshold, threshold] | its logarithm                                |
 * | TrueAR  | A[i] = A[i-1] (1 - k[i]) / (1 + k[i]), A[-1] = 1  | area of a section                            |
 * | Tilt    | (abs(a[i]) - abs(b[i])) / (a[i] + b[i])           | spectral tilt from two vectors               |
 * | AbsTilt | (abs(a[i]) - abs(b[i])) / (abs(a[i]) + abs(b[i])) | the same, within -1 .. 1                     |
 *
 * Accuracy: divisions are exact (one rounding of each operation); TrueAR rounds its running product to single precision
 * at each element; the logarithm is that of kivsLn_32f_I.
 *
 * Fixed point: an integer v of the 16s forms stands for v * 2^srcScaleFactor, so that srcScaleFactor = -15 reads Q15;
 * the scale of the two vectors of a tilt cancels. They compute as the 32f forms do, multiply by 2^-scaleFactor, round
 * to nearest (ties to even) and saturate; a NaN gives -32768. Beyond 100 elements they allocate scratch memory.
 *
 * Undefined quotients give the warning kivStatusDivByZero:
 * - AR of k = -1 is +inf. An infinite k has a NaN for quotient, with the sign bit set as the processor's own. Where a
 *   call gives the warning, each result that is a NaN with the sign bit set becomes +inf: that of an infinite k, and
 *   that of a NaN among the coefficients that has the sign bit set itself. Other NaNs pass through, and all of them in
 *   a call without a warning.
 * - TrueAR: from there on the areas are not finite.
 * - Tilts: 0/0 is NaN.
 * A NaN among the coefficients gives no warning, but kivStatusNanResult in LAR. The warning depends on the elements
 * alone: the invalid flag of the SIMD unit may be set or clear on entry, and is clear on return.
 *
 * Source: J. D. Markel, A. H. Gray, "Linear Prediction of Speech", 1976, chapter 4.
 *
 * @code{.c}
 * const Kiv32f k[2] = {0.5F, -0.5F};
 * const Kiv16s q15[2] = {16384, -16384};
 * Kiv32f ratios[2];
 * Kiv16s words[2];
 * assert(kivsReflectionToAR_32f(k, ratios, 2) == kivStatusOk && ratios[1] == 3.0F);
 * assert(kivsReflectionToLAR_32f(k, ratios, 2, 0.99F) == kivStatusOk && fabs(ratios[1] - log(3.0)) < 1e-6);
 * assert(kivsReflectionToAR_16s_Sfs(q15, -15, words, 2, -10) == kivStatusOk);  // ratios in Q10
 * assert(words[0] == 341 && words[1] == 3072);
 * @endcode
 * @{ */

/** @name Area ratios, areas
 * @{ */
/** Area ratios, areas.
 * @param[in] pSrc len reflection coefficients
 * @param[out] pDst len results; may be pSrc
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; warning kivStatusDivByZero: an undefined quotient */
KIVSR_API KivStatus kivsReflectionToAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToTrueAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
/** @} */

/** Logarithms of area ratios.
 * @param[in] pSrc len reflection coefficients
 * @param[out] pDst len results; may be pSrc
 * @param[in] len number of elements
 * @param[in] threshold bound of the coefficients, inside (0, 1); keeps the logarithm finite
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusOutOfRange: threshold, NaN included; warning
 * kivStatusNanResult: a NaN */
KIVSR_API KivStatus kivsReflectionToLAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f threshold);

/** @name Tilts
 * @{ */
/** Tilts.
 * @param[in] pSrcA,pSrcB len coefficients each
 * @param[out] pDst len results; may be a source
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; warning kivStatusDivByZero: an undefined quotient */
KIVSR_API KivStatus kivsReflectionToTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToAbsTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len);
/** @} */

/** @name Area ratios, areas of integers
 * @{ */
/** Area ratios, areas of integers.
 * @param[in] pSrc len reflection coefficients v * 2^srcScaleFactor
 * @param[in] srcScaleFactor -15 for Q15
 * @param[out] pDst len results times 2^-scaleFactor; may be pSrc
 * @param[in] len number of elements
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusNoMemory: nothing is written; warning
 * kivStatusDivByZero: an undefined quotient */
KIVSR_API KivStatus kivsReflectionToAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len,
                                               int scaleFactor);
KIVSR_API KivStatus kivsReflectionToTrueAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len,
                                                   int scaleFactor);
/** @} */

/** Logarithms of area ratios of integers.
 * @param[in] pSrc len reflection coefficients v * 2^srcScaleFactor
 * @param[in] srcScaleFactor -15 for Q15
 * @param[out] pDst len results times 2^-scaleFactor; may be pSrc
 * @param[in] len number of elements
 * @param[in] threshold bound of the coefficients, inside (0, 1)
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusOutOfRange: threshold, NaN included;
 * kivStatusNoMemory: nothing is written */
KIVSR_API KivStatus kivsReflectionToLAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len,
                                                Kiv32f threshold, int scaleFactor);

/** @name Tilts of integers
 * @{ */
/** Tilts of integers.
 * @param[in] pSrcA,pSrcB len coefficients each, of one unit
 * @param[out] pDst len results times 2^-scaleFactor; may be a source
 * @param[in] len number of elements
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusNoMemory: nothing is written; warning
 * kivStatusDivByZero: an undefined quotient */
KIVSR_API KivStatus kivsReflectionToTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len,
                                                 int scaleFactor);
KIVSR_API KivStatus kivsReflectionToAbsTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len,
                                                    int scaleFactor);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
