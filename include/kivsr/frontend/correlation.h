/* Correlation coefficients. */
#ifndef KIVSR_FRONTEND_CORRELATION_H
#define KIVSR_FRONTEND_CORRELATION_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup correlation Correlation coefficients
 *
 * How alike two stretches of a signal are, whatever their levels: 1 for equal shapes, -1 for opposite ones. A voiced
 * frame resembles itself a period later, which is how pitch is found (D. Talkin, "A robust algorithm for pitch tracking
 * (RAPT)", in Speech Coding and Synthesis, 1995). Samples may have any unit; coefficients have none.
 *
 * @code{.c}
 * Kiv32f x[300], r[81];
 * int n, best = 0;
 * for (n = 0; n < 300; ++n) x[n] = (Kiv32f)sin(6.283185307 * n / 50.0);  // a period of 50 samples
 * assert(kivsCrossCorrCoeffLag_32f(x, 200, 20, 100, r) == kivStatusOk);  // lags 20 .. 100
 * for (n = 1; n < 81; ++n) {
 *   if (r[n] > r[best] + 1e-5F) best = n;
 * }
 * assert(best + 20 == 50);
 * @endcode
 * @{ */

/** @name Correlation coefficient of two vectors
 * @{ */
/** Correlation coefficient of two vectors:
 *
 *     r = sum x[i] y[i] / sqrt(sum x[i]^2 sum y[i]^2),    limited to [-1, 1]
 *
 * Sums of 32f in double precision, of 16s exact; one rounding to single precision. NaN and infinite samples give NaN.
 * @param[in] pSrc1 x, len samples
 * @param[in] pSrc2 y, len samples; may be pSrc1 or overlap it
 * @param[in] len number of samples
 * @param[out] pResult r; NaN where a vector is zero
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusDivByZero, a warning: a vector is zero */
KIVSR_API KivStatus kivsCrossCorrCoeff_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f* pResult);
KIVSR_API KivStatus kivsCrossCorrCoeff_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f* pResult);
/** @} */

/** @name Correlation of two vectors over a normaliser
 * @{ */
/** Correlation of two vectors over a normaliser of the caller, who keeps energies from frame to frame:
 *
 *     r = sum x[i] y[i] / val,    not limited
 *
 * Sums as of kivsCrossCorrCoeff_32f.
 * @param[in] pSrc1 x, len samples
 * @param[in] pSrc2 y, len samples; may be pSrc1 or overlap it
 * @param[in] len number of samples
 * @param[in] val the normaliser
 * @param[out] pResult r
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusOutOfRange: val is zero or NaN */
KIVSR_API KivStatus kivsCrossCorrCoeffPartial_32f(const Kiv32f* pSrc1, const Kiv32f* pSrc2, int len, Kiv32f val,
                                                  Kiv32f* pResult);
KIVSR_API KivStatus kivsCrossCorrCoeffPartial_16s32f(const Kiv16s* pSrc1, const Kiv16s* pSrc2, int len, Kiv32f val,
                                                     Kiv32f* pResult);
/** @} */

/** @name Normalised cross-correlation of a frame with what follows it
 * @{ */
/** Normalised cross-correlation of a frame with what follows it, for L = minLag .. maxLag:
 *
 *     r[L] = sum over n < len of x[n] x[n+L] / sqrt(E(0) E(L)),    E(L) = sum over n < len of x[n+L]^2
 *
 * limited to [-1, 1]; 0 where an energy is zero. Energies are sums in double precision, free of cancellation, so that
 * a quiet stretch behind a loud one has its own energy. Products are summed in single precision, in blocks of 128:
 * reduction(len). From 2^20 products (len times the number of lags) on they go through an FFT, and the error is about
 * 1e-7 times the root of the energy of everything over that of the stretch. Samples below 1e-18 or above 1e18 lose
 * their products to the range of single precision. A NaN or an infinity gives NaN at the lags that meet it, through
 * the FFT at all.
 *
 * Takes memory from the allocator for the 16s form, for more than 1024 lags, and for the FFT.
 * @param[in] pSrc len + maxLag samples
 * @param[in] len samples of the frame
 * @param[in] minLag smallest lag, at least 0
 * @param[in] maxLag largest lag
 * @param[out] pDst r[minLag] .. r[maxLag]; must not overlap pSrc
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusOutOfRange: minLag < 0 or maxLag < minLag;
 * kivStatusNoMemory; kivStatusDivByZero, a warning: an energy is zero */
KIVSR_API KivStatus kivsCrossCorrCoeffLag_32f(const Kiv32f* pSrc, int len, int minLag, int maxLag, Kiv32f* pDst);
KIVSR_API KivStatus kivsCrossCorrCoeffLag_16s32f(const Kiv16s* pSrc, int len, int minLag, int maxLag, Kiv32f* pDst);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
