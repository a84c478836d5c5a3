/* Reflection-coefficient features. */
#ifndef KIVSR_FRONTEND_REFLECTION_H
#define KIVSR_FRONTEND_REFLECTION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup reflection Reflection-coefficient features
 *
 * Features of len reflection coefficients k, element by element:
 *
 *     AR         (1 - k[i]) / (1 + k[i])                              area ratio of neighbouring sections of a tube
 *     LAR        ln of the same, k[i] first clamped to [-threshold, threshold]
 *     TrueAR     A[i] = A[i-1] (1 - k[i]) / (1 + k[i]), A[-1] = 1      area of a section
 *     Tilt       (|a[i]| - |b[i]|) / (a[i] + b[i])                    spectral tilt from two vectors
 *     AbsTilt    (|a[i]| - |b[i]|) / (|a[i]| + |b[i]|)
 *
 * Accuracy: divisions are exact (one rounding of each operation); TrueAR rounds its running product to single precision
 * at each element; the logarithm is that of kivsLn_32f_I. A destination may be a source.
 *
 * Fixed point: an integer v of the 16s forms stands for v * 2^srcScaleFactor, so that srcScaleFactor = -15 reads Q15;
 * the scale of the two vectors of a tilt cancels. They compute as the 32f forms do, multiply by 2^-scaleFactor, round
 * to nearest (ties to even) and saturate; a NaN gives -32768. Beyond 100 elements they allocate scratch memory.
 *
 * Undefined quotients give the warning 6. Of AR, k = -1 or an infinite k: the result is +inf. Of TrueAR: from there on
 * the areas are not finite. Of the tilts, 0/0: NaN. A NaN among the coefficients passes through (LAR reports it with
 * 8). The warning depends on the elements alone: the invalid flag of the SIMD unit may be set or clear on entry, and is
 * clear on return.
 *
 * Statuses in order: -8 a null pointer; -6 len < 1; -7 (LAR) a threshold not inside (0, 1), NaN included; -9 (16s) out
 * of memory, nothing written; 6 an undefined quotient; 8 (LAR) a NaN.
 *
 * Source: J. D. Markel, A. H. Gray, "Linear Prediction of Speech", 1976, chapter 4.
 * @{ */
KIVSR_API KivStatus kivsReflectionToAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToLAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len, Kiv32f threshold);
KIVSR_API KivStatus kivsReflectionToTrueAR_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToAbsTilt_32f(const Kiv32f* pSrcA, const Kiv32f* pSrcB, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsReflectionToAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len,
                                               int scaleFactor);
KIVSR_API KivStatus kivsReflectionToLAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len,
                                                Kiv32f threshold, int scaleFactor);
KIVSR_API KivStatus kivsReflectionToTrueAR_16s_Sfs(const Kiv16s* pSrc, int srcScaleFactor, Kiv16s* pDst, int len,
                                                   int scaleFactor);
KIVSR_API KivStatus kivsReflectionToTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len,
                                                 int scaleFactor);
KIVSR_API KivStatus kivsReflectionToAbsTilt_16s_Sfs(const Kiv16s* pSrcA, const Kiv16s* pSrcB, Kiv16s* pDst, int len,
                                                    int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
