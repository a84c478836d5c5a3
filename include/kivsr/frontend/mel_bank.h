/* Mel filter banks: construction, weights, evaluation of one frame. */
#ifndef KIVSR_FRONTEND_MEL_BANK_H
#define KIVSR_FRONTEND_MEL_BANK_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup melbank Mel filter bank
 *
 * Triangular filters over the bins of a spectrum, equally spaced in mel. With fftLen the smallest power of two that is
 * not below winLen, at least 2, a spectrum has the bins 0 .. fftLen/2, bin j at j * sampFreq / fftLen hertz.
 *
 * Centres. m[i] = mel(lowFreq) + i (mel(highFreq) - mel(lowFreq)) / (nFilter + 1) for i = 0 .. nFilter + 1; filter
 * i = 1 .. nFilter rises from edge i-1 to its centre i and falls to edge i+1. In bins the edges are
 * c[i] = f(m[i]) * fftLen / sampFreq, brought to whole bins as the mode says. (m and the positions are kept as floats;
 * a position that falls exactly on a bin may truncate to its neighbour.) Constants that make no mel scale cannot make a
 * bank that reads outside of the spectrum.
 *
 * Mode word: one of the first two, and KIV_FBANK_FFTINPUT or not.
 * - KIV_FBANK_MELWEIGHT (1): positions are truncated, and bin j weighs by its own mel value:
 *   rising (mel(j) - m[i-1]) / (m[i] - m[i-1]) for c[i-1] < j <= c[i] and 0 for the lower edge bin c[i-1], falling
 *   (m[i+1] - mel(j)) / (m[i+1] - m[i]) for c[i] < j <= c[i+1].
 * - KIV_FBANK_BINWEIGHT (2): positions are rounded to nearest, and weights are linear in bins: rising
 *   (j - c[i-1] + 1) / w with w = c[i] - c[i-1] + 1 for c[i-1] <= j <= c[i], falling (c[i+1] + 1 - j) / w' with
 *   w' = c[i+1] - c[i] + 1 for c[i] < j <= c[i+1]. The triangle is lopsided on purpose: it starts at 1/w and ends
 *   at 1/w' on the edge bins. Two equal centres leave one bin of weight 1 in the rising half.
 * - KIV_FBANK_FFTINPUT (4): evaluation takes fftLen samples instead of fftLen/2 + 1 spectrum values, and applies the
 *   bank to the magnitudes of their unscaled real FFT.
 *
 * Element types: 32f has float weights; 16s has integer weights with 14 fraction bits (mode 1 truncates the float
 * weight, mode 2 divides integers).
 *
 * GetSize, then Init in a block of that size (of any alignment of at least 4), or InitAlloc instead of both.
 * *pFFTOrder receives log2(fftLen). A bank made by Init lives in the caller's block and is not released; one made by
 * InitAlloc is released by kivsFBankFree. A bank is only read by evaluation, unless it transforms samples: then one
 * thread at a time may use it.
 *
 * MelLin banks place the first nLinear filters at equal distances in hertz from lowFreq to highLinFreq and the others
 * in mel from there to highFreq: edges lowFreq + i (highLinFreq - lowFreq) / nLinear for i <= nLinear, then mel steps
 * of 1 / (nFilter - nLinear + 1). If all filters are linear the divisor is nFilter + 1.
 *
 * Empty banks have no centres and zero weights, and evaluation refuses them (-69) until kivsFBankSetCenters and
 * kivsFBankSetCoeffs have made a bank of any shape. Of the mode only KIV_FBANK_FFTINPUT counts.
 *
 * Statuses, in order:
 * - GetSize: -8 null pSize; -6 winLen < 1 or nFilter < 1; -70 a mode other than 1, 2, 5 and 6; -6 more than int holds.
 * - Init, InitAlloc: -8 null; -6 winLen < 1, nFilter < 1, sampFreq <= 0 or lowFreq <= 0 (0 Hz has no bank); -71
 *   highFreq < lowFreq; -71 sampFreq / 2 < highFreq; -70; InitAlloc: -9 no memory, or a table larger than int counts,
 * Init: -6 a bank larger than int.
 * - MelLin: -8 null; -6 as above, or nLinear < 1 or nLinear > nFilter; -71 highLinFreq < lowFreq or highFreq <
 *   highLinFreq; -71 sampFreq / 2 < highFreq; -70; -9.
 * - Empty: -6 winLen < 1 or nFilter < 1; -8 null, after the sizes; -9.
 * - Free: -8 null.
 * A NaN frequency passes and leaves every filter at bin 0. On a failure *ppFBank and *pFFTOrder are unchanged.
 * @{ */
KIVSR_API KivStatus kivsMelFBankGetSize_32f(int winLen, int nFilter, Kiv32s mode, int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSize_16s(int winLen, int nFilter, Kiv32s mode, int* pSize);
KIVSR_API KivStatus kivsMelFBankInit_32f(KivsFBankState_32f* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                         Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv,
                                         Kiv32s mode);
KIVSR_API KivStatus kivsMelFBankInit_16s(KivsFBankState_16s* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                         Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv,
                                         Kiv32s mode);
KIVSR_API KivStatus kivsMelFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                              Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul,
                                              Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsMelFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                              Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul,
                                              Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsMelLinFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen,
                                                 Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter,
                                                 Kiv32f highLinFreq, int nLinear, Kiv32f melMul, Kiv32f melDiv,
                                                 Kiv32s mode);
KIVSR_API KivStatus kivsMelLinFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen,
                                                 Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter,
                                                 Kiv32f highLinFreq, int nLinear, Kiv32f melMul, Kiv32f melDiv,
                                                 Kiv32s mode);
KIVSR_API KivStatus kivsEmptyFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, int nFilter,
                                                Kiv32s mode);
KIVSR_API KivStatus kivsEmptyFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, int nFilter,
                                                Kiv32s mode);
KIVSR_API KivStatus kivsFBankFree_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsFBankFree_16s(KivsFBankState_16s* pFBank);
/** @} */

/** @defgroup melbankweights Centres and weights of a bank
 *
 * Centres are nFilter + 2 bins: the lower edge of the first filter, the centres, the upper edge of the last.
 * SetCenters copies them in and makes the bank ready; weights stay as they are. GetCenters copies them out.
 *
 * The weights of filter i are c[i+1] - c[i-1] + 1 floats for the bins c[i-1] .. c[i+1] in order: the rising half up to
 * and with the centre, then the falling half. SetCoeffs reads and GetCoeffs writes this run; in a 16s bank a weight is
 * value * 2^14, truncated, and what 32 bits cannot hold becomes -2^31. GetCoeffs, and it alone, also takes filter =
 * nFilter + 1: a rising half of c[nFilter+1] - c[nFilter] + 1 zeros.
 *
 * Statuses, in order:
 * - SetCenters: -8 null; -69 a negative, decreasing or too high (above fftLen/2) centre.
 * - GetCenters: -8 null; -69 a bank without centres, or whose centres fail the same test.
 * - GetCoeffs, SetCoeffs: -8 null; -69 no centres; -6 filter < 1, or above nFilter + 1 (GetCoeffs) or nFilter
 *   (SetCoeffs).
 * @{ */
KIVSR_API KivStatus kivsFBankGetCenters_32f(const KivsFBankState_32f* pFBank, Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankGetCenters_16s(const KivsFBankState_16s* pFBank, Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankSetCenters_32f(KivsFBankState_32f* pFBank, const Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankSetCenters_16s(KivsFBankState_16s* pFBank, const Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankGetCoeffs_32f(const KivsFBankState_32f* pFBank, int filter, Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsFBankGetCoeffs_16s(const KivsFBankState_16s* pFBank, int filter, Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsFBankSetCoeffs_32f(KivsFBankState_32f* pFBank, int filter, const Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsFBankSetCoeffs_16s(KivsFBankState_16s* pFBank, int filter, const Kiv32f* pCoeffs);
/** @} */

/** @defgroup melbankevaluation Band energies of one frame
 *
 *     pDst[i-1] = sum over j of pSrc[j] * weight of bin j in filter i,    i = 1 .. nFilter
 *
 * pSrc holds fftLen/2 + 1 spectrum values or, for a bank with KIV_FBANK_FFTINPUT, fftLen samples. pDst must not
 * overlap it.
 *
 * kivsEvalFBank_32f: sums in single precision, reduction(n) over the bins of a filter; a NaN or infinite bin reaches
 * only the filters that cover it.
 *
 * kivsEvalFBank_16s_Sfs and _16s32s_Sfs: 64-bit sums of integer products, times 2^-(14 + scaleFactor) rounded down,
 * saturated to the destination; every scale factor is accepted. With KIV_FBANK_FFTINPUT spectrum and magnitudes are
 * taken with scale factor -3 each, six more bits are shifted out at the end, and each product is kept to its low 32
 * bits before it is added: magnitudes above 2^17 / weight wrap.
 *
 * Statuses, in order: -8 null, or a record of zeros; -69 a bank without centres; -9 the transform found no
 * memory.
 * @{ */
KIVSR_API KivStatus kivsEvalFBank_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsEvalFBank_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsFBankState_16s* pFBank,
                                          int scaleFactor);
KIVSR_API KivStatus kivsEvalFBank_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFBankState_16s* pFBank,
                                             int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
