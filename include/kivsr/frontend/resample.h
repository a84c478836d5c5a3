/* Conversion of the sampling rate. */
#ifndef KIVSR_FRONTEND_RESAMPLE_H
#define KIVSR_FRONTEND_RESAMPLE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup resample Resampling
 *
 * From any sampling rate to any other, as a stream:
 *
 *   y[n] = sum over k of x[k] h(n inRate / outRate - k)
 *
 * Output n stands at the time n / outRate, without shift; samples outside the signal count as zero, and N samples give
 * ceil(N outRate / inRate) outputs once the stream is flushed. The outputs are the same bits however the input is cut
 * into calls. h is a sinc at a cut-off frequency midway between passBand and 1, in parts of the lower of the two
 * Nyquist frequencies, under a Kaiser window (J. F. Kaiser, "Nonrecursive digital filter design using the I0-sinh
 * window function", 1974): frequencies up to passBand keep their level within 0.01 dB, those from the lower Nyquist
 * frequency on, and the images of an upward conversion, lose stopBand dB, as far as single precision goes. Equal rates
 * pass samples as they are.
 *
 * | passBand | stopBand | half the filter, in periods of the lower rate |                                        |
 * |----------|----------|-----------------------------------------------|----------------------------------------|
 * | 0.925    | 130      | 115                                           | music and features: what the program uses |
 * | 0.9      | 100      | 66                                            | 16-bit samples                         |
 * | 0.8      | 80       | 27                                            | short delay                            |
 *
 * | form | samples | arithmetic                                                                                |
 * |------|---------|-------------------------------------------------------------------------------------------|
 * | 32f  | Kiv32f  | single precision                                                                          |
 * | 16s  | Kiv16s  | single precision, to the nearest integer (ties to even), saturated; in any rounding mode |
 *
 * Accuracy: the root mean square error of a tone is below 1.5e-7 of it (137 dB), relative to the loudest samples
 * within GetDelay. An infinity, a NaN or a sample of magnitude 2^112 or more leaves no number in the outputs within
 * half the filter of it, and no trace in the others.
 *
 * Rates whose ratio has no prime factor above 13, among them all usual ones, run in blocks through the real DFT; others
 * take one product of the filter's length for each output. What an output waits for is told by GetDelay: 41 ms from 48
 * to 16 kHz, 70 ms from 44.1 to 16 kHz, 82 ms from 16 to 8 kHz with the first line of the table.
 *
 * @code{.c}
 * KivsResampleState_32f* state;
 * Kiv32f block[480], out[2000];
 * int n, frame, len, total = 0;
 * assert(kivsResamplePolyphaseInitAlloc_32f(&state, 48000, 16000, 0.925F, 130.0F) == kivStatusOk);
 * for (frame = 0; frame < 10; ++frame) {  // a tenth of a second of 1 kHz, in blocks of 10 ms
 *   for (n = 0; n < 480; ++n) block[n] = (Kiv32f)sin(2 * 3.14159265358979 * n / 48);
 *   assert(kivsResamplePolyphase_32f(block, 480, out + total, &len, state) == kivStatusOk);
 *   total += len;
 * }
 * assert(kivsResamplePolyphaseFlush_32f(out + total, &len, state) == kivStatusOk);
 * assert(total + len == 1600 && fabs(out[804] - 1) < 1e-3);
 * kivsResamplePolyphaseFree_32f(state);
 * @endcode
 *
 * Sources: J. O. Smith, "Digital audio resampling", 2002; overlap-save with a change of length between the transforms:
 * M. Borgerding, "Turning overlap-save into a multiband mixing, downsampling filter bank", 2006.
 * @{ */

/** @name States
 *
 * A state is one stream of one form. Either in memory of the caller, of GetSize bytes at the alignment of a pointer, by
 * Init, or in memory of the library, by InitAlloc and Free. It is not to be moved. Reset begins a new signal.
 *
 * @param[in] inRate,outRate samples per second, or in any other unit
 * @param[in] passBand 0.5 .. 0.98, in parts of the lower Nyquist frequency
 * @param[in] stopBand 40 .. 160 dB
 * @param[out] pSize bytes
 * @param[out] ppState the state; unchanged on failure
 * @param pState the state
 * @return kivStatusNullPointer; GetSize, Init and InitAlloc: kivStatusBadArgument: a rate below 1, a band out of range,
 * or a ratio that takes more than 2^24 taps in all phases; InitAlloc: kivStatusNoMemory
 * @{ */
KIVSR_API KivStatus kivsResamplePolyphaseGetSize_32f(int inRate, int outRate, Kiv32f passBand, Kiv32f stopBand,
                                                     int* pSize);
KIVSR_API KivStatus kivsResamplePolyphaseGetSize_16s(int inRate, int outRate, Kiv32f passBand, Kiv32f stopBand,
                                                     int* pSize);
KIVSR_API KivStatus kivsResamplePolyphaseInit_32f(KivsResampleState_32f* pState, int inRate, int outRate,
                                                  Kiv32f passBand, Kiv32f stopBand);
KIVSR_API KivStatus kivsResamplePolyphaseInit_16s(KivsResampleState_16s* pState, int inRate, int outRate,
                                                  Kiv32f passBand, Kiv32f stopBand);
KIVSR_API KivStatus kivsResamplePolyphaseInitAlloc_32f(KivsResampleState_32f** ppState, int inRate, int outRate,
                                                       Kiv32f passBand, Kiv32f stopBand);
KIVSR_API KivStatus kivsResamplePolyphaseInitAlloc_16s(KivsResampleState_16s** ppState, int inRate, int outRate,
                                                       Kiv32f passBand, Kiv32f stopBand);
KIVSR_API KivStatus kivsResamplePolyphaseFree_32f(KivsResampleState_32f* pState);
KIVSR_API KivStatus kivsResamplePolyphaseFree_16s(KivsResampleState_16s* pState);
KIVSR_API KivStatus kivsResamplePolyphaseReset_32f(KivsResampleState_32f* pState);
KIVSR_API KivStatus kivsResamplePolyphaseReset_16s(KivsResampleState_16s* pState);
/** @} */

/** @name Delay and lengths
 *
 * GetDelay: an output at the time of sample t has been given once sample t + *pDelay has. GetDstLen: the most outputs
 * of a call with srcLen samples whatever came before, or, of 0 samples, of a flush.
 *
 * @param[in] pState the state
 * @param[in] srcLen number of samples, or 0
 * @param[out] pDelay samples of the input
 * @param[out] pDstLen number of outputs
 * @return kivStatusNullPointer; GetDstLen: kivStatusBadSize: srcLen < 0, or more outputs than int counts
 * @{ */
KIVSR_API KivStatus kivsResamplePolyphaseGetDelay_32f(const KivsResampleState_32f* pState, int* pDelay);
KIVSR_API KivStatus kivsResamplePolyphaseGetDelay_16s(const KivsResampleState_16s* pState, int* pDelay);
KIVSR_API KivStatus kivsResamplePolyphaseGetDstLen_32f(const KivsResampleState_32f* pState, int srcLen, int* pDstLen);
KIVSR_API KivStatus kivsResamplePolyphaseGetDstLen_16s(const KivsResampleState_16s* pState, int srcLen, int* pDstLen);
/** @} */

/** @name Resampling
 *
 * Takes the next samples of the signal and gives the outputs that they complete. Flush ends the signal, gives the
 * outputs that still wait, and makes the state ready for another signal. Neither allocates memory.
 *
 * @param[in] pSrc the samples
 * @param[in] srcLen their number, 0 or more
 * @param[out] pDst room for as many outputs as GetDstLen says; not pSrc
 * @param[out] pDstLen number of outputs given
 * @param[in,out] pState the state
 * @return kivStatusNullPointer; kivStatusBadSize: srcLen < 0, or more outputs than int counts
 * @{ */
KIVSR_API KivStatus kivsResamplePolyphase_32f(const Kiv32f* pSrc, int srcLen, Kiv32f* pDst, int* pDstLen,
                                              KivsResampleState_32f* pState);
KIVSR_API KivStatus kivsResamplePolyphase_16s(const Kiv16s* pSrc, int srcLen, Kiv16s* pDst, int* pDstLen,
                                              KivsResampleState_16s* pState);
KIVSR_API KivStatus kivsResamplePolyphaseFlush_32f(Kiv32f* pDst, int* pDstLen, KivsResampleState_32f* pState);
KIVSR_API KivStatus kivsResamplePolyphaseFlush_16s(Kiv16s* pDst, int* pDstLen, KivsResampleState_16s* pState);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
