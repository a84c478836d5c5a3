/* High bands of the advanced front end. */
#ifndef KIVSR_AURORA_HIGH_BAND_H
#define KIVSR_AURORA_HIGH_BAND_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup highband High bands
 *
 * What the advanced front end makes of 4 .. 8 kHz in speech at 16 kHz (ETSI ES 202 050, clause 5.5): three band
 * energies H(0 .. 2), which become the mel bands 24 to 26 behind the 23 of the low band. They reach the cepstra in two
 * ways, and 0.7 of the first and 0.3 of the second is taken:
 *
 * - coded: as differences from the low band before the noise reduction, which are added to the low band behind it, so
 *   that the high bands are reduced as their neighbours are;
 * - reduced: by spectral subtraction.
 *
 * Logarithms are natural; what is not above e^-10 counts as e^-10 (a NaN, too), in units of 16-bit samples.
 *
 * @code{.c}
 * Kiv32f noisy[65], clean[129], high[3] = {900, 400, 100}, codes[9], coded[3], bands[26], energy = 1e6F;
 * KivsHighBandState_Aurora* reduction;
 * Kiv32f memory[8];
 * int size, i;
 * kivsHighBandGetSize_Aurora_32f(&size);
 * assert(size <= (int)sizeof memory);
 * reduction = (KivsHighBandState_Aurora*)memory;
 * kivsHighBandInit_Aurora_32f(reduction);
 * for (i = 0; i < 65; ++i) noisy[i] = 2000;   // first stage of the noise reduction, pairs of bins averaged
 * for (i = 0; i < 129; ++i) clean[i] = 1000;  // behind the noise reduction
 * for (i = 0; i < 26; ++i) bands[i] = 7;
 * kivsHighBandCoding_Aurora_32f(noisy, high, codes);
 * kivsHighBandReduction_Aurora_32f_I(high, reduction);
 * kivsHighBandDecoding_Aurora_32f(clean, codes, coded);
 * assert(kivsHighBandMerging_Aurora_32f(coded, high, bands, &energy) == kivStatusOk);
 * assert(bands[25] < bands[24] && bands[24] < bands[23]);
 * @endcode
 * @{ */

/** @name Coding
 * @{ */
/** The codes of a frame: with P the first stage's power spectrum of the low band and
 *
 *   L(0 .. 2) = ln of the sums of P(33) .. P(38), P(39) .. P(48), P(49) .. P(64)
 *
 * pDst[3 i + j] = L(j) - ln H(i). Sums reduction(16), then last-bit(1) of each logarithm.
 * @param[in] pSrcLow 65 powers as kivsSmoothedPowerSpectrumAurora_32f gives them
 * @param[in] pSrcHigh 3 band energies of the high band
 * @param[out] pDst 9 codes
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsHighBandCoding_Aurora_32f(const Kiv32f* pSrcLow, const Kiv32f* pSrcHigh, Kiv32f* pDst);
/** @} */

/** @name Decoding
 * @{ */
/** The coded log energies: with P the power spectrum of the low band behind noise reduction and pre-emphasis and
 *
 *   L(0 .. 2) = ln of half the sums of P(66) .. P(76), P(78) .. P(96), P(98) .. P(128)
 *
 * pDst[i] = ln 1.9 + 0.1 (L(0) - c(3i)) + 0.2 (L(1) - c(3i+1)) + 0.7 (L(2) - c(3i+2)), c the codes of the same frame.
 * Sums reduction(31), then a few last bits of the largest term.
 * @param[in] pSrcLow 129 powers of a transform of 256 points
 * @param[in] pSrcCode 9 codes
 * @param[out] pDst 3 log energies
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsHighBandDecoding_Aurora_32f(const Kiv32f* pSrcLow, const Kiv32f* pSrcCode, Kiv32f* pDst);
/** @} */

/** @name Merging
 * @{ */
/** Joins both ways and the low band. With b the log bands, counted from 1:
 *
 *   b(23 + i) = 0.7 coded(i) + 0.3 ln(1.9 H(i)), i = 1 .. 3;  m = (b(23) + b(24)) / 2
 *   b(23) = 0.6 b(23) + 0.4 m;  b(24) = 0.6 b(24) + 0.4 m
 *   energy += e^b(24) / 1.9 + e^b(25) / 1.9 + e^b(26) / 1.9
 *
 * Computed in double precision, rounded once.
 * @param[in] pSrcCoded 3 log energies as kivsHighBandDecoding_Aurora_32f gives them
 * @param[in] pSrcHigh 3 energies as kivsHighBandReduction_Aurora_32f_I leaves them
 * @param[in,out] pSrcDst 26 log bands, of which the first 23 are there
 * @param[in,out] pEnergy the energy of the frame, linear
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsHighBandMerging_Aurora_32f(const Kiv32f* pSrcCoded, const Kiv32f* pSrcHigh, Kiv32f* pSrcDst,
                                                   Kiv32f* pEnergy);
/** @} */

/** @name Size
 * @{ */
/** The size of the state of the reduction, which the caller provides, aligned to 4. One state serves one stream; calls
 * on different states may run at once.
 * @param[out] pSize 32
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsHighBandGetSize_Aurora_32f(int* pSize);
/** @} */

/** @name Initialisation
 * @{ */
/** Makes the state ready for a new stream.
 * @param[out] pState as many bytes as GetSize says
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsHighBandInit_Aurora_32f(KivsHighBandState_Aurora* pState);
/** @} */

/** @name Reduction
 * @{ */
/** Takes the noise out of the three energies H of frame t, counted from 1:
 *
 *   h(i) = max(H(i) - 1.5 N(i), 0.1 H(i))
 *
 * The noise N is the mean of H over frames without speech: by 1/t before frame 10; then it rises by 0.005 and falls by
 * 1/t, from frame 100 on by 0.01; at least e^-10. A frame holds speech when e = ln max(H(0) + H(1) + H(2), 0.001) is
 * more than 2.2 above its mean, and for 15 frames after five such ones. The mean follows e by 1/t before frame 10,
 * then, where e is less than 1.2 above it, by 0.02 down and by 0.005 up. Single precision.
 *
 * Energies whose sum is not finite come back as they are and leave the state alone.
 * @param[in,out] pSrcDst 3 energies, not negative
 * @param[in,out] pState an initialised state
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsHighBandReduction_Aurora_32f_I(Kiv32f* pSrcDst, KivsHighBandState_Aurora* pState);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
