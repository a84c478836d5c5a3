/* Real DFT of lengths N = 2^a 3^b 5^c, up to 2^28. */
#ifndef KIVSR_VECTOR_DFT_H
#define KIVSR_VECTOR_DFT_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup dft Real DFT of composite lengths
 *
 * The transforms of the real FFT for lengths that need not be powers of two, so that a window of 400 samples needs no
 * zeros behind it. For k = 0 .. N/2, and inverse:
 *
 *     X_k = f * sum over n of x_n exp(-2 pi i k n / N),    x_n = g * sum over k of X_k exp(2 pi i k n / N)
 *
 * with X_(N-k) = conj X_k in the sum of the inverse; the flag of an object chooses f and g as it does for the FFT. A
 * spectrum is in the layout CCS:
 *
 *     N even   N + 2 values   R_0, 0, R_1, I_1, ... , R_(N/2-1), I_(N/2-1), R_(N/2), 0
 *     N odd    N + 1 values   R_0, 0, R_1, I_1, ... , R_((N-1)/2), I_((N-1)/2)
 *
 * @code{.c}
 * KivsDFTSpec_R_32f* dft;
 * Kiv32f samples[400], back[400];
 * Kiv32f bins[400 + 2];
 * int n, k, loudest = 0;
 * for (n = 0; n < 400; ++n) samples[n] = (Kiv32f)cos(2 * 3.14159265358979 * 25 * n / 400);
 * assert(kivsDFTInitAlloc_R_32f(&dft, 400, kivFftScaleInverse, 0) == kivStatusOk);
 * assert(kivsDFTFwd_RToCCS_32f(samples, bins, dft, NULL) == kivStatusOk);
 * for (k = 0; k <= 200; ++k) {
 *   if (fabs(bins[2 * k]) > fabs(bins[2 * loudest])) loudest = k;
 * }
 * assert(loudest == 25 && fabs(bins[50] - 200) < 1e-3);
 * assert(kivsDFTInv_CCSToR_32f(bins, back, dft, NULL) == kivStatusOk);
 * for (n = 0; n < 400; ++n) assert(fabs(back[n] - samples[n]) < 1e-5);
 * kivsDFTFree_R_32f(dft);
 * @endcode
 *
 * Method: the samples as N/2 complex numbers in as many interleaved sequences as a register has lanes, radix 2 to 8
 * without bit reversal (T. G. Stockham, "High-speed convolution and correlation", 1966) over all of them at once, then
 * the lanes of each bin, then one step from the complex to the real spectrum. Powers of two are transforms of the FFT.
 * Lengths that 8 divides use whole registers from 128 on, others less; odd lengths take one number at a time.
 * @{ */

/** @name Objects
 *
 * An object holds the tables of one length and one flag. Transforms only read it: one object serves any number of calls
 * and threads. It is not to be moved. Its first word identifies its type until Free clears it. Either in memory of the
 * caller, by GetSize and Init, or in memory of the library, by InitAlloc and Free; sizes are in bytes and enough from
 * an address of any alignment, as for the FFT.
 *
 * @param[in] length number of samples N, 1 .. 2^28, with the prime factors 2, 3 and 5 only
 * @param[in] flag kivFftScaleForward, kivFftScaleInverse, kivFftScaleSqrt or kivFftScaleNone
 * @param[in] hint stored, without effect
 * @param[out] pSpecSize,pSpecBufferSize sizes of the object and of the temporary memory of Init
 * @param[out] pBufferSize size of the work memory of a transform
 * @param[out] ppSpec the object: in Init the first 32-byte boundary in pMemSpec; unchanged on failure
 * @param[out] pMemSpec memory of the object
 * @param[in] pMemInit temporary memory, free again afterwards; may be null where its size is 0
 * @param[in] pSpec the object
 * @return GetSize: kivStatusBadSize: length, kivStatusNullPointer, kivStatusFftFlagError. Init: kivStatusNullPointer
 * (ppSpec), kivStatusBadSize, kivStatusNullPointer (pMemSpec), kivStatusFftFlagError, kivStatusNullPointer (pMemInit).
 * InitAlloc: kivStatusNullPointer, kivStatusBadSize, kivStatusFftFlagError, kivStatusNoMemory. Free and GetBufSize:
 * kivStatusNullPointer, kivStatusContextMismatch: not such an object. On any of them nothing is written
 * @{ */
KIVSR_API KivStatus kivsDFTGetSize_R_32f(int length, int flag, int hint, int* pSpecSize, int* pSpecBufferSize,
                                         int* pBufferSize);
KIVSR_API KivStatus kivsDFTInit_R_32f(KivsDFTSpec_R_32f** ppSpec, int length, int flag, int hint, Kiv8u* pMemSpec,
                                      Kiv8u* pMemInit);
KIVSR_API KivStatus kivsDFTInitAlloc_R_32f(KivsDFTSpec_R_32f** ppSpec, int length, int flag, int hint);
KIVSR_API KivStatus kivsDFTFree_R_32f(KivsDFTSpec_R_32f* pSpec);
KIVSR_API KivStatus kivsDFTGetBufSize_R_32f(const KivsDFTSpec_R_32f* pSpec, int* pBufferSize);
/** @} */

/** @name Transforms
 *
 * Fwd_RToCCS: N samples to a spectrum. Inv_CCSToR: a spectrum to N samples; its zeros are not read.
 *
 * Accuracy: the root mean square error relative to that of the spectrum is below 2e-7 * sqrt(log2 N); every factor of
 * the tables is correct to the last bit. The sign of a zero is not specified, but for those of CCS. A NaN or an
 * infinity among the samples may spread over the whole spectrum.
 *
 * @param[in] pSrc N samples, or the values of a CCS spectrum
 * @param[out] pDst the values of a CCS spectrum, or N samples; may be pSrc, which then has the larger length
 * @param[in] pSpec the object
 * @param pBuffer work memory of the reported size at any address; null takes it from the allocator for this call
 * @return kivStatusNullPointer (pSpec), kivStatusContextMismatch: not such an object, kivStatusNullPointer (pSrc,
 * pDst), kivStatusNoMemory: none for the work memory
 * @{ */
KIVSR_API KivStatus kivsDFTFwd_RToCCS_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDFTSpec_R_32f* pSpec,
                                          Kiv8u* pBuffer);
KIVSR_API KivStatus kivsDFTInv_CCSToR_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsDFTSpec_R_32f* pSpec,
                                          Kiv8u* pBuffer);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
