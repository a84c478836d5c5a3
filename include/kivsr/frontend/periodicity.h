/* Periodicity of a frame. */
#ifndef KIVSR_FRONTEND_PERIODICITY_H
#define KIVSR_FRONTEND_PERIODICITY_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup periodicity Periodicity of a frame
 *
 * How periodic a frame is, and its period in samples. Of several multiples of a period that fit equally well the
 * shortest is taken. Samples may have any unit.
 *
 * @code{.c}
 * Kiv32f x[600], periodicity, period;
 * int n, whole;
 * for (n = 0; n < 600; ++n) x[n] = (Kiv32f)(sin(6.283185307 * n / 72.5) + 0.5 * sin(12.566370614 * n / 72.5));
 * assert(kivsPeriodicity_32f(x, 600, 32, 200, &periodicity, &period) == kivStatusOk);
 * assert(periodicity > 0.99F && fabs(period - 72.5F) < 0.1F);
 * assert(kivsPeriodicityLSPE_32f(x, 600, &periodicity, &whole, 32, 100) == kivStatusOk);
 * assert(periodicity > 0.9F && (whole == 72 || whole == 73));
 * @endcode
 * @{ */

/** @name Highest peak of the normalised cross-correlation
 * @{ */
/** Highest peak of the normalised cross-correlation of the first len - maxPeriod samples with what follows them
 * (kivsCrossCorrCoeffLag_32f, accuracy as there). A peak is an r[L] > 0 with minPeriod < L < maxPeriod, r[L] > r[L-1]
 * and r[L] >= r[L+1]; the parabola through the three gives
 *
 *     d = (r[L-1] - r[L+1]) / (2 (r[L-1] - 2 r[L] + r[L+1])),
 *     period = L + d,    periodicity = r[L] - (r[L-1] - r[L+1]) d / 4, at most 1
 *
 * From short lags to long ones a peak replaces the one before it where it is more than 0.01 higher, so that a multiple
 * of the period, which may lie nearer to a whole lag, does not win.
 *
 * Memory as of kivsCrossCorrCoeffLag_32f, and for ranges of more than 1024 lags.
 * @param[in] pSrc len samples
 * @param[in] len number of samples; frames of two to three times maxPeriod serve best
 * @param[in] minPeriod shortest period, in samples, at least 1
 * @param[in] maxPeriod longest period
 * @param[out] pPeriodicity height of the peak, 0 .. 1; 0 where there is none
 * @param[out] pPeriod its lag in samples, with fraction; 0 where there is none, silence included
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusOutOfRange: minPeriod < 1 or maxPeriod < minPeriod;
 * kivStatusBadSize: len <= maxPeriod; kivStatusNoMemory */
KIVSR_API KivStatus kivsPeriodicity_32f(const Kiv32f* pSrc, int len, int minPeriod, int maxPeriod, Kiv32f* pPeriodicity,
                                        Kiv32f* pPeriod);
KIVSR_API KivStatus kivsPeriodicity_16s32f(const Kiv16s* pSrc, int len, int minPeriod, int maxPeriod,
                                           Kiv32f* pPeriodicity, Kiv32f* pPeriod);
/** @} */

/** @name Least-squares periodicity estimate
 * @{ */
/** Least-squares periodicity estimate: how much of a frame a waveform that repeats every P samples explains. With K_i
 * the number of samples at i, i + P, i + 2 P, ... below len:
 *
 *     I0 = sum over i < P of (sum over h of x[i + h P])^2 / K_i
 *     I1 = sum over i < P of (sum over h of x[i + h P]^2) / K_i
 *     E = sum of x[n]^2,    R(P) = (I0 - I1) / (E - I1)
 *
 * 1 for a frame that repeats exactly, about 0 for noise, also negative; taking I1 away keeps long periods, which fit
 * anything, from winning. R is 0 where E = I1: silence, and periods of len and above. Computed in double precision; R
 * that are equal to 2^-40 count as equal. A NaN gives NaN and minPeriod.
 *
 * Sources: D. H. Friedman, "Pseudo-maximum-likelihood speech pitch extraction", IEEE Trans. ASSP 25(3), 1977; R.
 * Tucker, "Voice activity detection using a periodicity measure", IEE Proceedings I 139(4), 1992.
 * @param[in] pSrc len samples
 * @param[in] len 1 .. 1024, at most 16 maxPeriod
 * @param[out] pPeriodicity the largest R(P); 16s: in Q15, rounded to nearest even, 1 becomes 32767
 * @param[out] pPeriod the smallest P that reaches it
 * @param[in] minPeriod shortest period, at least 1
 * @param[in] maxPeriod longest period
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusOutOfRange: minPeriod < 1 or maxPeriod < minPeriod;
 * kivStatusBadLength: len > 1024 or len > 16 maxPeriod */
KIVSR_API KivStatus kivsPeriodicityLSPE_32f(const Kiv32f* pSrc, int len, Kiv32f* pPeriodicity, int* pPeriod,
                                            int minPeriod, int maxPeriod);
KIVSR_API KivStatus kivsPeriodicityLSPE_16s(const Kiv16s* pSrc, int len, Kiv16s* pPeriodicity, int* pPeriod,
                                            int minPeriod, int maxPeriod);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
