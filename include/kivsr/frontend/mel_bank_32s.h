/* The mel filter bank for 32-bit integer spectra. */
#ifndef KIVSR_FRONTEND_MEL_BANK_32S_H
#define KIVSR_FRONTEND_MEL_BANK_32S_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup melbank32s Mel filter bank for 32-bit integer spectra
 *
 * A bank of KIV_FBANK_BINWEIGHT weights with 30 fraction bits, in the caller's block. Frequencies are whole hertz,
 * melMul and melDiv fixed-point numbers with 16 fraction bits. Edges beyond fftLen/2 are moved there. The weights are
 * designed in double precision and truncated.
 *
 * Evaluation: each 64-bit product is shifted right by 8 and added to a 64-bit sum, which is shifted right (rounding
 * down) by scaleFactor or left (saturating) by -scaleFactor, then by 22 to nearest, halves up, and saturated.
 *
 * Statuses, in order:
 * - GetSize: -8 null pSize; -6 nFilter < 1, winLen < 32 or winLen > 8192; -70 mode other than 2; -6 nFilter >
 *   fftLen/2.
 * - Init: -8 null; -6 nFilter < 1, highFreq < 1, winLen as above; -70; -6 sampFreq outside 1 .. 48000; -6
 *   lowFreq < 0; -71 highFreq <= lowFreq or highFreq > 24000; -5 melDiv not in (8, 4096); -5 melMul not in
 *   (8, 16384); -6 nFilter > fftLen/2 + 1.
 * - Evaluation: -8 null; -5 scaleFactor outside -31 .. 31.
 * @{ */
KIVSR_API KivStatus kivsMelFBankGetSize_32s(int winLen, int nFilter, Kiv32s mode, int* pSize);
KIVSR_API KivStatus kivsMelFBankInit_32s(KivsFBankState_32s* pFBank, int* pFFTOrder, int winLen, Kiv32s sampFreq,
                                         Kiv32s lowFreq, Kiv32s highFreq, int nFilter, Kiv32s melMul, Kiv32s melDiv,
                                         Kiv32s mode);
KIVSR_API KivStatus kivsEvalFBank_32s_Sfs(const Kiv32s* pSrc, Kiv32s* pDst, const KivsFBankState_32s* pFBank,
                                          int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
