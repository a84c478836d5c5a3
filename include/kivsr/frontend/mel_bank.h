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
 * bank that reads outside of the spectrum; a NaN frequency passes and leaves every filter at bin 0.
 *
 * Mode word: one of the first two, and KIV_FBANK_FFTINPUT or not.
 *
 * | mode                    | edges     | weights                                                                 |
 * |-------------------------|-----------|-------------------------------------------------------------------------|
 * | KIV_FBANK_MELWEIGHT (1) | truncated | by the mel value of each bin                                            |
 * | KIV_FBANK_BINWEIGHT (2) | nearest   | linear in bins                                                          |
 * | KIV_FBANK_FFTINPUT (4)  |           | evaluation takes samples: the magnitudes of their unscaled real FFT     |
 *
 * Weights of bin j in filter i, rising for c[i-1] <= j <= c[i], falling for c[i] < j <= c[i+1]:
 *
 *     mode 1    (mel(j) - m[i-1]) / (m[i] - m[i-1]), 0 at j = c[i-1]      (m[i+1] - mel(j)) / (m[i+1] - m[i])
 *     mode 2    (j - c[i-1] + 1) / (c[i] - c[i-1] + 1)                    (c[i+1] + 1 - j) / (c[i+1] - c[i] + 1)
 *
 * The triangle of mode 2 is lopsided on purpose: on the edge bins it is not 0.
 *
 * Empty filters. In mode 1 a filter whose edges fall into one bin, c[i-1] = c[i+1], has no weight: its energy is 0 in
 * every frame, and a logarithm makes that -inf. That happens where many filters meet a short transform, at the low end
 * first. It cannot happen if two steps of the mel axis reach over a bin there: with d = (mel(highFreq) - mel(lowFreq))
 * / (nFilter + 1), if (lowFreq + melDiv) (exp(2 d / melMul) - 1) >= sampFreq / fftLen. At 8 kHz, from 64 Hz to 4 kHz,
 * 40 filters are safe from fftLen 128 on, 80 from 256. kivsFBankGetCenters tells of a bank that is made. Mode 2
 * has no empty filters (equal centres leave one bin of weight 1), though neighbours may be alike.
 *
 * The lowest frequency is greater than 0: 0 Hz is refused. Any lowFreq of less than half a bin (mode 2) or one bin
 * (mode 1), for example 1 Hz, puts the lower edge on bin 0.
 *
 * Types: 32f has float weights; 16s has integer weights with 14 fraction bits (mode 1 truncates the float weight, mode
 * 2 divides integers). The 32-bit integer bank is @ref melbank32s, the banks of the advanced front end @ref
 * melbankaurora.
 *
 * GetSize, then Init in a block of that size, or InitAlloc instead of both. A bank made by Init lives in the caller's
 * block and is not released; one made by InitAlloc is released by kivsFBankFree. A bank is only read by evaluation,
 * unless it transforms samples: then one thread at a time may use it.
 *
 * @code{.c}
 * KivsFBankState_32f* bank;
 * int order, i, empty = 0;
 * Kiv32s centres[25];
 * Kiv32f spectrum[129] = {0}, bands[23];
 * assert(kivsMelFBankInitAlloc_32f(&bank, &order, 200, 8000, 64, 4000, 23, 1127, 700, KIV_FBANK_MELWEIGHT) == 0);
 * assert(order == 8);
 * assert(kivsFBankGetCenters_32f(bank, centres) == kivStatusOk);
 * for (i = 1; i <= 23; ++i) empty += centres[i - 1] == centres[i + 1];
 * assert(empty == 0);  // each logarithm will be finite
 * spectrum[32] = 100.0F;  // 1000 Hz
 * assert(kivsEvalFBank_32f(spectrum, bands, bank) == kivStatusOk);
 * assert(bands[0] == 0.0F && bands[9] + bands[10] + bands[11] > 50.0F);
 * kivsFBankFree_32f(bank);
 * @endcode
 * @{ */

/** @name Bytes of a bank
 * @{ */
/** Bytes of a bank.
 * @param[in] winLen samples of a frame
 * @param[in] nFilter number of filters
 * @param[in] mode 1, 2, 5 or 6
 * @param[out] pSize bytes
 * @return kivStatusNullPointer; kivStatusBadSize: winLen < 1 or nFilter < 1; kivStatusBadMelMode; kivStatusBadSize:
 * more than int holds */
KIVSR_API KivStatus kivsMelFBankGetSize_32f(int winLen, int nFilter, Kiv32s mode, int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSize_16s(int winLen, int nFilter, Kiv32s mode, int* pSize);
/** @} */

/** @name A bank in the caller's block
 * @{ */
/** A bank in the caller's block.
 * @param[out] pFBank a block of the bytes of GetSize, of any alignment of at least 4
 * @param[out] pFFTOrder log2(fftLen); unchanged on a failure
 * @param[in] winLen samples of a frame
 * @param[in] sampFreq sampling frequency in hertz
 * @param[in] lowFreq lower edge of the first filter in hertz, greater than 0
 * @param[in] highFreq upper edge of the last filter in hertz, at most sampFreq / 2; lowFreq itself is accepted
 * @param[in] nFilter number of filters
 * @param[in] melMul,melDiv constants of the mel scale (@ref melscale)
 * @param[in] mode 1, 2, 5 or 6
 * @return kivStatusNullPointer; kivStatusBadSize: winLen < 1, nFilter < 1, sampFreq <= 0 or lowFreq <= 0;
 * kivStatusBadFreqRange: highFreq < lowFreq; kivStatusBadFreqRange: sampFreq / 2 < highFreq; kivStatusBadMelMode;
 * kivStatusBadSize: a bank larger than int */
KIVSR_API KivStatus kivsMelFBankInit_32f(KivsFBankState_32f* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                         Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv,
                                         Kiv32s mode);
KIVSR_API KivStatus kivsMelFBankInit_16s(KivsFBankState_16s* pFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                         Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul, Kiv32f melDiv,
                                         Kiv32s mode);
/** @} */

/** @name A bank from the allocator
 * @{ */
/** A bank from the allocator.
 * @param[out] ppFBank the bank; unchanged on a failure
 * @param[out] pFFTOrder log2(fftLen); unchanged on a failure
 * @param[in] winLen samples of a frame
 * @param[in] sampFreq sampling frequency in hertz
 * @param[in] lowFreq lower edge of the first filter in hertz, greater than 0
 * @param[in] highFreq upper edge of the last filter in hertz, at most sampFreq / 2; lowFreq itself is accepted
 * @param[in] nFilter number of filters
 * @param[in] melMul,melDiv constants of the mel scale (@ref melscale)
 * @param[in] mode 1, 2, 5 or 6
 * @return kivStatusNullPointer; kivStatusBadSize: winLen < 1, nFilter < 1, sampFreq <= 0 or lowFreq <= 0;
 * kivStatusBadFreqRange: highFreq < lowFreq; kivStatusBadFreqRange: sampFreq / 2 < highFreq; kivStatusBadMelMode;
 * kivStatusNoMemory: no memory, or a table larger than int counts */
KIVSR_API KivStatus kivsMelFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                              Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul,
                                              Kiv32f melDiv, Kiv32s mode);
KIVSR_API KivStatus kivsMelFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, Kiv32f sampFreq,
                                              Kiv32f lowFreq, Kiv32f highFreq, int nFilter, Kiv32f melMul,
                                              Kiv32f melDiv, Kiv32s mode);
/** @} */

/** @name A bank of two scales
 * @{ */
/** A bank of two scales: the first nLinear filters at equal distances in hertz from lowFreq to highLinFreq, the others
 * in mel from there to highFreq. The edges are lowFreq + i (highLinFreq - lowFreq) / nLinear for i <= nLinear, then mel
 * steps of 1 / (nFilter - nLinear + 1). If all filters are linear the divisor is nFilter + 1.
 * @param[out] ppFBank the bank; unchanged on a failure
 * @param[out] pFFTOrder log2(fftLen); unchanged on a failure
 * @param[in] winLen samples of a frame
 * @param[in] sampFreq sampling frequency in hertz
 * @param[in] lowFreq lower edge of the first filter in hertz, greater than 0
 * @param[in] highFreq upper edge of the last filter in hertz, at most sampFreq / 2
 * @param[in] nFilter number of filters
 * @param[in] highLinFreq where the linear part ends, in hertz, lowFreq .. highFreq
 * @param[in] nLinear linear filters, 1 .. nFilter
 * @param[in] melMul,melDiv constants of the mel scale (@ref melscale)
 * @param[in] mode 1, 2, 5 or 6
 * @return kivStatusNullPointer; kivStatusBadSize: winLen < 1, nFilter < 1, sampFreq <= 0, lowFreq <= 0 or nLinear;
 * kivStatusBadFreqRange: highLinFreq; kivStatusBadFreqRange: sampFreq / 2 < highFreq; kivStatusBadMelMode;
 * kivStatusNoMemory */
KIVSR_API KivStatus kivsMelLinFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen,
                                                 Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter,
                                                 Kiv32f highLinFreq, int nLinear, Kiv32f melMul, Kiv32f melDiv,
                                                 Kiv32s mode);
KIVSR_API KivStatus kivsMelLinFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen,
                                                 Kiv32f sampFreq, Kiv32f lowFreq, Kiv32f highFreq, int nFilter,
                                                 Kiv32f highLinFreq, int nLinear, Kiv32f melMul, Kiv32f melDiv,
                                                 Kiv32s mode);
/** @} */

/** @name An empty bank
 * @{ */
/** A bank without centres and with zero weights, which evaluation refuses until kivsFBankSetCenters and
 * kivsFBankSetCoeffs have made a bank of any shape of it.
 * @param[out] ppFBank the bank; unchanged on a failure
 * @param[out] pFFTOrder log2(fftLen); unchanged on a failure
 * @param[in] winLen samples of a frame
 * @param[in] nFilter number of filters
 * @param[in] mode only KIV_FBANK_FFTINPUT counts
 * @return kivStatusBadSize: winLen < 1 or nFilter < 1; kivStatusNullPointer, after the sizes; kivStatusNoMemory */
KIVSR_API KivStatus kivsEmptyFBankInitAlloc_32f(KivsFBankState_32f** ppFBank, int* pFFTOrder, int winLen, int nFilter,
                                                Kiv32s mode);
KIVSR_API KivStatus kivsEmptyFBankInitAlloc_16s(KivsFBankState_16s** ppFBank, int* pFFTOrder, int winLen, int nFilter,
                                                Kiv32s mode);
/** @} */

/** @name Releases a bank from the allocator
 * @{ */
/** Releases a bank from the allocator.
 * @param[in] pFBank the bank
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsFBankFree_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsFBankFree_16s(KivsFBankState_16s* pFBank);
/** @} */
/** @} */

/** @defgroup melbankweights Centres and weights of a bank
 *
 * Centres are nFilter + 2 bins: the lower edge of the first filter, the centres, the upper edge of the last. The
 * weights of filter i are c[i+1] - c[i-1] + 1 floats for the bins c[i-1] .. c[i+1] in order: the rising half up to and
 * with the centre, then the falling half.
 *
 * @code{.c}
 * const Kiv32s centres[4] = {0, 1, 2, 4};  // two filters
 * const Kiv32f first[3] = {0, 1, 0.5F};
 * const Kiv32f second[4] = {0, 1, 0.5F, 0.25F};
 * const Kiv32f spectrum[5] = {1, 1, 1, 1, 1};
 * Kiv32f bands[2];
 * KivsFBankState_32f* bank;
 * int order;
 * assert(kivsEmptyFBankInitAlloc_32f(&bank, &order, 8, 2, 0) == kivStatusOk);
 * assert(kivsEvalFBank_32f(spectrum, bands, bank) == kivStatusFBankNotReady);
 * assert(kivsFBankSetCenters_32f(bank, centres) == kivStatusOk);
 * kivsFBankSetCoeffs_32f(bank, 1, first);
 * kivsFBankSetCoeffs_32f(bank, 2, second);
 * assert(kivsEvalFBank_32f(spectrum, bands, bank) == kivStatusOk && bands[0] == 1.5F && bands[1] == 1.75F);
 * kivsFBankFree_32f(bank);
 * @endcode
 * @{ */

/** @name Copies the centres out
 * @{ */
/** Copies the centres out.
 * @param[in] pFBank the bank
 * @param[out] pCenters nFilter + 2 bins
 * @return kivStatusNullPointer; kivStatusFBankNotReady: no centres, or centres that SetCenters would refuse */
KIVSR_API KivStatus kivsFBankGetCenters_32f(const KivsFBankState_32f* pFBank, Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankGetCenters_16s(const KivsFBankState_16s* pFBank, Kiv32s* pCenters);
/** @} */

/** @name Copies centres in
 * @{ */
/** Copies centres in and makes the bank ready; weights stay as they are.
 * @param[in,out] pFBank the bank
 * @param[in] pCenters nFilter + 2 bins, not decreasing, 0 .. fftLen/2
 * @return kivStatusNullPointer; kivStatusFBankNotReady: a negative, decreasing or too high centre */
KIVSR_API KivStatus kivsFBankSetCenters_32f(KivsFBankState_32f* pFBank, const Kiv32s* pCenters);
KIVSR_API KivStatus kivsFBankSetCenters_16s(KivsFBankState_16s* pFBank, const Kiv32s* pCenters);
/** @} */

/** @name Copies the weights of a filter out
 * @{ */
/** Copies the weights of a filter out.
 * @param[in] pFBank the bank
 * @param[in] filter 1 .. nFilter, or nFilter + 1: a rising half of c[nFilter+1] - c[nFilter] + 1 zeros
 * @param[out] pCoeffs c[filter+1] - c[filter-1] + 1 weights
 * @return kivStatusNullPointer; kivStatusFBankNotReady: no centres; kivStatusBadSize: filter */
KIVSR_API KivStatus kivsFBankGetCoeffs_32f(const KivsFBankState_32f* pFBank, int filter, Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsFBankGetCoeffs_16s(const KivsFBankState_16s* pFBank, int filter, Kiv32f* pCoeffs);
/** @} */

/** @name Copies the weights of a filter in
 * @{ */
/** Copies the weights of a filter in. In a 16s bank a weight is value * 2^14, truncated, and what 32 bits cannot hold
 * becomes -2^31.
 * @param[in,out] pFBank the bank
 * @param[in] filter 1 .. nFilter
 * @param[in] pCoeffs c[filter+1] - c[filter-1] + 1 weights
 * @return kivStatusNullPointer; kivStatusFBankNotReady: no centres; kivStatusBadSize: filter */
KIVSR_API KivStatus kivsFBankSetCoeffs_32f(KivsFBankState_32f* pFBank, int filter, const Kiv32f* pCoeffs);
KIVSR_API KivStatus kivsFBankSetCoeffs_16s(KivsFBankState_16s* pFBank, int filter, const Kiv32f* pCoeffs);
/** @} */
/** @} */

/** @defgroup melbankevaluation Band energies of frames
 *
 *     pDst[i-1] = sum over j of pSrc[j] * weight of bin j in filter i,    i = 1 .. nFilter
 *
 * in the unit of the spectrum: whether it holds magnitudes or powers, of samples of any unit, is the caller's choice.
 * With KIV_FBANK_FFTINPUT it is the magnitude spectrum, unscaled, of the given samples.
 * @{ */

/** Sums in single precision, reduction(n) over the bins of a filter; a NaN or infinite bin reaches only the filters
 * that cover it.
 * @param[in] pSrc fftLen/2 + 1 spectrum values, or fftLen samples for a bank with KIV_FBANK_FFTINPUT
 * @param[out] pDst nFilter band energies; must not overlap pSrc
 * @param[in] pFBank the bank
 * @return kivStatusNullPointer: a null pointer, or a record of zeros; kivStatusFBankNotReady: a bank without centres */
KIVSR_API KivStatus kivsEvalFBank_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFBankState_32f* pFBank);

/** The same of several spectra, the columns of a matrix: value j of spectrum c stands at pSrc[j * columns + c], band i
 * of it at pDst[(i - 1) * columns + c]. A column has the same bits however many stand beside it; the order of its sums
 * is not that of kivsEvalFBank_32f.
 * @param[in] pSrc fftLen/2 + 1 rows
 * @param[out] pDst nFilter rows; must not overlap pSrc
 * @param[in] columns number of spectra
 * @param[in] pFBank a bank without KIV_FBANK_FFTINPUT
 * @return kivStatusNullPointer; kivStatusBadSize: columns < 1; kivStatusBadMelMode: a bank with KIV_FBANK_FFTINPUT;
 * kivStatusNullPointer: a record of zeros; kivStatusFBankNotReady: a bank without centres */
KIVSR_API KivStatus kivsEvalFBankColumns_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns,
                                             const KivsFBankState_32f* pFBank);

/** @name Integers
 * @{ */
/** 64-bit sums of integer products, times 2^-(14 + scaleFactor) rounded down, saturated to the destination. With
 * KIV_FBANK_FFTINPUT spectrum and magnitudes are taken with scale factor -3 each, six more bits are shifted out at the
 * end, and each product is kept to its low 32 bits before it is added: magnitudes above 2^17 / weight wrap.
 * @param[in] pSrc fftLen/2 + 1 spectrum values, or fftLen samples for a bank with KIV_FBANK_FFTINPUT
 * @param[out] pDst nFilter band energies; must not overlap pSrc
 * @param[in] pFBank the bank
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer: a null pointer, or a record of zeros; kivStatusFBankNotReady: a bank without centres */
KIVSR_API KivStatus kivsEvalFBank_16s_Sfs(const Kiv16s* pSrc, Kiv16s* pDst, const KivsFBankState_16s* pFBank,
                                          int scaleFactor);
KIVSR_API KivStatus kivsEvalFBank_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFBankState_16s* pFBank,
                                             int scaleFactor);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
