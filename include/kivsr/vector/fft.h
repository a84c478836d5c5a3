/* Real FFT of lengths N = 2^order, order 0 to 30. */
#ifndef KIVSR_VECTOR_FFT_H
#define KIVSR_VECTOR_FFT_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup fft Real FFT
 *
 * Forward, for k = 0 .. N/2, and inverse:
 *
 *     X_k = f * sum over n of x_n exp(-2 pi i k n / N),    x_n = g * sum over k of X_k exp(2 pi i k n / N)
 *
 * with X_(N-k) = conj X_k in the sum of the inverse. The flag of an object chooses the factors:
 *
 *     kivFftScaleForward   f = 1/N         g = 1
 *     kivFftScaleInverse   f = 1           g = 1/N
 *     kivFftScaleSqrt      f = 1/sqrt(N)   g = 1/sqrt(N)
 *     kivFftScaleNone      f = 1           g = 1
 *
 * With any flag but kivFftScaleNone, forward followed by inverse gives the samples back.
 *
 * Layouts of a spectrum, R_k and I_k the real and imaginary part of X_k (I_0 = I_(N/2) = 0):
 *
 *     CCS    N + 2 values   R_0, 0, R_1, I_1, ... , R_(N/2-1), I_(N/2-1), R_(N/2), 0
 *     Pack   N values       R_0, R_1, I_1, ... , R_(N/2-1), I_(N/2-1), R_(N/2)
 *     Perm   N values       R_0, R_(N/2), R_1, I_1, ... , R_(N/2-1), I_(N/2-1)
 *
 * For N = 1 each is R_0 alone, CCS with a zero behind it. All zeros of CCS are written as +0.
 *
 * |          | samples | spectrum | forward          | inverse | layouts         |
 * |----------|---------|----------|------------------|---------|-----------------|
 * | R_32f    | Kiv32f  | Kiv32f   | single precision | yes     | CCS, Pack, Perm |
 * | R_16s32s | Kiv16s  | Kiv32s   | exact, rounded   | no      | CCS             |
 *
 * @code{.c}
 * KivsFFTSpec_R_32f* fft;
 * Kiv32f samples[256], power[129];
 * Kiv32f bins[256 + 2];
 * int n, k, loudest = 0;
 * for (n = 0; n < 256; ++n) samples[n] = (Kiv32f)cos(2 * 3.14159265358979 * 20 * n / 256);
 * assert(kivsFFTInitAlloc_R_32f(&fft, 8, kivFftScaleNone, 0) == kivStatusOk);
 * assert(kivsFFTFwd_RToCCS_32f(samples, bins, fft, NULL) == kivStatusOk);
 * for (k = 0; k <= 128; ++k) {
 *   power[k] = bins[2 * k] * bins[2 * k] + bins[2 * k + 1] * bins[2 * k + 1];
 *   if (power[k] > power[loudest]) loudest = k;
 * }
 * assert(loudest == 20 && fabs(bins[40] - 128) < 1e-3);
 * kivsFFTFree_R_32f(fft);
 * @endcode
 *
 * Method: the samples as N/2 complex numbers, radix 8 and 4 without bit reversal (T. G. Stockham, "High-speed
 * convolution and correlation", 1966), and one step from the complex to the real spectrum joined with the last pass.
 * @{ */

/** @name Objects
 *
 * An object holds the tables of one order and one flag. Transforms only read it: one object serves any number of calls
 * and threads. It is not to be moved. Its first word identifies its type (6, and 0x434D414F for 16s32s) until Free
 * clears it.
 *
 * Either in memory of the caller, by GetSize and Init, or in memory of the library, by InitAlloc and Free. Every size
 * is in bytes and enough from an address of any alignment: it counts the bytes up to the 32-byte boundary at which the
 * contents start, and nothing is written behind it.
 *
 *     object           GetSize: *pSpecSize          the object and its tables
 *     temporary        GetSize: *pSpecBufferSize    during Init alone; 0 up to order 10
 *     work             GetSize: *pBufferSize,       during a transform, by one transform at a time; 0 below order 4
 *                      GetBufSize
 *
 * GetSize reports the three sizes. Init builds an object in pMemSpec; the memory stays the caller's. InitAlloc does the
 * same in a block of the allocator. Free releases a block of InitAlloc. GetBufSize reports the work size of an object.
 *
 * @param[in] order log2 of the number of samples, 0 .. 30
 * @param[in] flag kivFftScaleForward, kivFftScaleInverse, kivFftScaleSqrt or kivFftScaleNone
 * @param[in] hint stored, without effect
 * @param[out] pSpecSize,pSpecBufferSize sizes of the object and of the temporary memory
 * @param[out] pBufferSize size of the work memory
 * @param[out] ppSpec the object: in Init the first 32-byte boundary in pMemSpec; unchanged on failure
 * @param[out] pMemSpec memory of the object
 * @param[in] pMemInit temporary memory, free again afterwards; may be null where its size is 0
 * @param[in] pSpec the object
 * @return GetSize: kivStatusFftOrderError, kivStatusNullPointer, kivStatusFftFlagError, kivStatusBadSize: a size that
 * int cannot hold (from order 29 on, in 16s32s from order 27). Init: kivStatusNullPointer (ppSpec),
 * kivStatusFftOrderError, kivStatusNullPointer (pMemSpec), kivStatusFftFlagError, kivStatusNullPointer (pMemInit).
 * InitAlloc: kivStatusNullPointer, kivStatusFftOrderError, kivStatusFftFlagError, kivStatusNoMemory. Free and
 * GetBufSize: kivStatusNullPointer, kivStatusContextMismatch: not such an object; GetBufSize: kivStatusBadSize. On any
 * of them nothing is written
 * @{ */
KIVSR_API KivStatus kivsFFTGetSize_R_32f(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize,
                                         int* pBufferSize);
KIVSR_API KivStatus kivsFFTInit_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec,
                                      Kiv8u* pMemInit);
KIVSR_API KivStatus kivsFFTInitAlloc_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint);
KIVSR_API KivStatus kivsFFTFree_R_32f(KivsFFTSpec_R_32f* pSpec);
KIVSR_API KivStatus kivsFFTGetBufSize_R_32f(const KivsFFTSpec_R_32f* pSpec, int* pBufferSize);
KIVSR_API KivStatus kivsFFTGetSize_R_16s32s(int order, int flag, int hint, int* pSpecSize, int* pSpecBufferSize,
                                            int* pBufferSize);
KIVSR_API KivStatus kivsFFTInit_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec,
                                         Kiv8u* pMemInit);
KIVSR_API KivStatus kivsFFTInitAlloc_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint);
KIVSR_API KivStatus kivsFFTFree_R_16s32s(KivsFFTSpec_R_16s32s* pSpec);
/** @} */

/** @name Transforms
 *
 * Fwd_RTo...: N samples to a spectrum in the layout of the name. Inv_PackToR: N values of a Pack spectrum to N samples.
 *
 * Accuracy of 32f: the root mean square error relative to that of the spectrum is below 2e-7 * sqrt(order), about
 * 1.5e-7 at order 16; every factor of the tables is correct to the last bit. The sign of a zero is not specified, but
 * for those of CCS. A NaN or an infinity among the samples may spread over the whole spectrum.
 *
 * 16s32s: the transform, with its factor f, is computed in double precision, times 2^-scaleFactor rounded to the
 * nearest integer (ties to even) and saturated to 32 bits. Without saturation the result is the integer nearest to the
 * exact spectrum unless that lies within 1e-10 of its largest magnitude of a tie. An unscaled spectrum of full-scale
 * samples needs 15 + order bits: choose scaleFactor >= order - 16 against saturation.
 *
 * @param[in] pSrc N samples, or N values of a Pack spectrum
 * @param[out] pDst N + 2 values (CCS), N values (Pack, Perm) or N samples; may be pSrc, which then has this length
 * @param[in] pSpec the object
 * @param pBuffer work memory of the reported size at any address; null takes it from the allocator for this call
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer (pSpec), kivStatusContextMismatch: not such an object, kivStatusNullPointer (pSrc,
 * pDst), kivStatusNoMemory: none for the work memory
 * @{ */
KIVSR_API KivStatus kivsFFTFwd_RToCCS_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec,
                                          Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTFwd_RToPack_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec,
                                           Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTFwd_RToPerm_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec,
                                           Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTInv_PackToR_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec,
                                           Kiv8u* pBuffer);
KIVSR_API KivStatus kivsFFTFwd_RToCCS_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFFTSpec_R_16s32s* pSpec,
                                                 Kiv8u* pBuffer, int scaleFactor);
/** @} */

/** @name Correlation
 * @{ */
/** Product of two Pack spectra: pSrcDst = pSrc times the conjugate of pSrcDst, bin by bin. Element 0 and, when len is
 * even, the last are real; between them stand pairs (re, im). With pSrc the spectrum of x and pSrcDst that of y, the
 * inverse transform is the circular cross-correlation of x with y. Accuracy: each product and sum rounded once, the
 * same bits in every build.
 * @param[in] pSrc len values of a Pack spectrum
 * @param[in,out] pSrcDst len values of another; may be pSrc, for the power spectrum
 * @param[in] len number of values
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMulPackConj_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
