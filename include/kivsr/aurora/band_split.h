/* Band split of the advanced front end. */
#ifndef KIVSR_AURORA_BAND_SPLIT_H
#define KIVSR_AURORA_BAND_SPLIT_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup bandsplit Band split
 *
 * Splits speech at 16 kHz into two signals at 8 kHz (ETSI ES 202 050, clause 5.5): the low band 0 .. 4 kHz, which goes
 * through the front end as speech at 8 kHz does, and the high band 4 .. 8 kHz, its frequencies moved to 0 .. 4 kHz.
 * With the 118 taps h, symmetric multiples of 2^-23:
 *
 *   low(n) = sum over k of h(k) x(2n + k)
 *   high(n) = (-1)^n sum over k of g(k) x(2n + k),  g(k) = (-1)^(k+1) h(k),  k = 0 .. 117
 *
 * h passes up to 3.4 kHz within 0.03 dB, is 4.9 dB down at 3.7 kHz and 78.7 dB from 4.0 kHz on; g is its mirror image.
 * What lies between 3.6 and 4.4 kHz is lost to both. With the 117 samples before it in front, a block gives the outputs
 * that it completes; the delay is 58.5 samples.
 *
 * @code{.c}
 * Kiv32f samples[2 * 80 + 116], low[80], high[80];
 * int i;
 * for (i = 0; i < 276; ++i) samples[i] = (Kiv32f)sin(3.14159265 * i * 5000.0 / 8000.0);  // 5 kHz
 * assert(kivsLowHighFilter_Aurora_32f(samples, low, high, 80) == kivStatusOk);
 * for (i = 0; i < 80; ++i) assert(fabs(low[i]) < 2e-4);
 * for (i = 2; i < 80; ++i) {  // high: 1 kHz at 8 kHz
 *   assert(fabs(high[i] - 2 * cos(3.14159265 / 4) * high[i - 1] + high[i - 2]) < 1e-3);
 * }
 * @endcode
 * @{ */

/** @name Band split
 * @{ */
/** Both bands of a block.
 *
 * 32f: reduction(118). 16s: sums of 64 bits, times 2^-scaleFactor, nearest even, saturated. The high band's sign
 * alternates from the first output on, which is why a block has an even number of them.
 * @param[in] pSrc 2 len + 116 samples
 * @param[out] pDstLow len samples, not pSrc
 * @param[out] pDstHigh len samples, not pSrc
 * @param[in] len outputs of each band, even; 80 in the standard
 * @param[in] scaleFactor any; 0 keeps the level
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 or odd */
KIVSR_API KivStatus kivsLowHighFilter_Aurora_32f(const Kiv32f* pSrc, Kiv32f* pDstLow, Kiv32f* pDstHigh, int len);
KIVSR_API KivStatus kivsLowHighFilter_Aurora_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDstLow, Kiv16s* pDstHigh, int len,
                                                     int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
