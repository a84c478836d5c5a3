/* The mel filter bank for 32-bit integer spectra. */
#ifndef KIVSR_FRONTEND_MEL_BANK_32S_H
#define KIVSR_FRONTEND_MEL_BANK_32S_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup melbank32s Mel filter bank for 32-bit integer spectra
 *
 * A bank of KIV_FBANK_BINWEIGHT weights (@ref melbank) with 30 fraction bits, in the caller's block: there is nothing
 * to release. Edges beyond fftLen/2 are moved there. The weights are designed in double precision and truncated. With
 * these weights every filter has a bin of weight 1: none is empty, however narrow. 0 Hz is a lower edge like any other.
 *
 * @code{.c}
 * int bytes, order;
 * Kiv32s spectrum[129], bands[23];
 * static double block[4096];  // aligned for pointers
 * int j;
 * assert(kivsMelFBankGetSize_32s(200, 23, KIV_FBANK_BINWEIGHT, &bytes) == kivStatusOk);
 * assert(bytes <= (int)sizeof block);
 * KivsFBankState_32s* const bank = (KivsFBankState_32s*)block;
 * assert(kivsMelFBankInit_32s(bank, &order, 200, 8000, 0, 4000, 23, 1127 << 16, 700 << 16, KIV_FBANK_BINWEIGHT) == 0);
 * assert(order == 8);
 * for (j = 0; j < 129; ++j) spectrum[j] = 1000;
 * assert(kivsEvalFBank_32s_Sfs(spectrum, bands, bank, 0) == kivStatusOk && bands[0] >= 1000);
 * @endcode
 * @{ */

/** Bytes of a bank.
 * @param[in] winLen samples of a frame, 32 .. 8192; fftLen is the smallest power of two that is not below
 * @param[in] nFilter number of filters, at most fftLen/2
 * @param[in] mode KIV_FBANK_BINWEIGHT
 * @param[out] pSize bytes
 * @return kivStatusNullPointer; kivStatusBadSize: nFilter < 1 or winLen; kivStatusBadMelMode; kivStatusBadSize:
 * nFilter > fftLen/2 */
KIVSR_API KivStatus kivsMelFBankGetSize_32s(int winLen, int nFilter, Kiv32s mode, int* pSize);

/** Designs a bank in the caller's block.
 * @param[out] pFBank a block of the bytes of GetSize, aligned for pointers
 * @param[out] pFFTOrder log2(fftLen)
 * @param[in] winLen samples of a frame, 32 .. 8192
 * @param[in] sampFreq sampling frequency in hertz, 1 .. 48000
 * @param[in] lowFreq lower edge of the first filter in hertz, from 0
 * @param[in] highFreq upper edge of the last filter in hertz, above lowFreq, at most 24000
 * @param[in] nFilter number of filters
 * @param[in] melMul,melDiv constants of the mel scale with 16 fraction bits: 8 < melMul < 16384, 8 < melDiv < 4096
 * @param[in] mode KIV_FBANK_BINWEIGHT
 * @return kivStatusNullPointer; kivStatusBadSize: nFilter < 1, highFreq < 1 or winLen; kivStatusBadMelMode;
 * kivStatusBadSize: sampFreq or lowFreq; kivStatusBadFreqRange: highFreq; kivStatusBadArgument: melDiv, melMul;
 * kivStatusBadSize: nFilter > fftLen/2 + 1 */
KIVSR_API KivStatus kivsMelFBankInit_32s(KivsFBankState_32s* pFBank, int* pFFTOrder, int winLen, Kiv32s sampFreq,
                                         Kiv32s lowFreq, Kiv32s highFreq, int nFilter, Kiv32s melMul, Kiv32s melDiv,
                                         Kiv32s mode);

/** Band energies of one frame. Each 64-bit product of a weight and a value is shifted right by 8 and added to a 64-bit
 * sum, which is shifted right (rounding down) by scaleFactor or left (saturating) by -scaleFactor, then by 22 to
 * nearest, halves up, and saturated: pDst = sum of weight * value, times 2^-scaleFactor. Exact integer arithmetic.
 * @param[in] pSrc fftLen/2 + 1 spectrum values of any unit
 * @param[out] pDst nFilter band energies in that unit times 2^scaleFactor
 * @param[in] pFBank the bank; only read
 * @param[in] scaleFactor -31 .. 31
 * @return kivStatusNullPointer; kivStatusBadArgument: scaleFactor */
KIVSR_API KivStatus kivsEvalFBank_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, const KivsFBankState_32s* pFBank,
                                          int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
