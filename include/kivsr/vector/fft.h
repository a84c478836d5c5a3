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
 * with X_(N-k) = conj X_k in the sum of the inverse. The flag chooses the factors:
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
 * Method: the samples as N/2 complex numbers, radix 8 and 4 without bit reversal (T. G. Stockham, "High-speed
 * convolution and correlation", 1966), and one step from the complex to the real spectrum joined with the last pass.
 * @{ */

/** @name Objects
 *
 * An object holds the tables of one order and one flag. Transforms only read it: one object serves any number of calls
 * and threads. The hint is stored and has no effect.
 *
 * GetSize reports three sizes in bytes, each enough from an address of any alignment: of the object, of the temporary
 * buffer of its initialisation (0 up to order 10) and of the work buffer of a transform (0 below order 4).
 *
 * Init builds an object in pMemSpec and stores its address, the first 32-byte boundary in pMemSpec, in *ppSpec;
 * pMemInit may be null where its size is 0, and is free again afterwards. The memory stays the caller's. InitAlloc does
 * the same in memory of the library, which Free returns.
 *
 * An object is not to be moved. Its first word identifies its type (6, and 0x434D414F for 16s32s) until Free clears it.
 *
 * GetBufSize reports the size of the work buffer of an object.
 *
 * Statuses in order. GetSize: -15 order outside 0 .. 30; -8 a null pointer; -16 an unknown flag; -6 a size that int
 * cannot hold (from order 29 on, in 16s32s from order 27). Init: -8 null ppSpec; -15; -8 null pMemSpec; -16; -8 null
 * pMemInit where it is needed. InitAlloc: -8, -15, -16, -9 out of memory. Free: -8, -17 not such an object. GetBufSize:
 * -8, -17, -6. On any of them nothing is written.
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
 * pSrc: N samples, or for the inverse N values of a Pack spectrum. pDst: the spectrum in the layout of the name, or N
 * samples. pDst may be pSrc (CCS: an array of N + 2 values). pBuffer: a work buffer of at least the reported size at
 * any address, used by one call at a time; null takes one from the allocator for the length of the call.
 *
 * Accuracy: the root mean square error relative to that of the spectrum is below 2e-7 * sqrt(order), about 1.5e-7 at
 * order 16; every factor of the tables is correct to the last bit. The sign of a zero is not specified, but for those
 * of CCS. A NaN or an infinity among the samples may spread over the whole spectrum.
 *
 * 16s32s: samples of 16 bits; the transform, with its factor f, is computed in double precision, times 2^-scaleFactor
 * rounded to the nearest integer (ties to even) and saturated to 32 bits. Without saturation the result is the integer
 * nearest to the exact spectrum unless that lies within 1e-10 of its largest magnitude of a tie. An unscaled spectrum
 * of full-scale samples needs 15 + order bits: choose scaleFactor >= order - 16 against saturation.
 *
 * Statuses in order: -8 null pSpec; -17 not such an object; -8 null pSrc or pDst; -9 out of memory for the work buffer.
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

/** Product of two Pack spectra: pSrcDst = pSrc times the conjugate of pSrcDst, bin by bin. Element 0 and, when len is
 * even, the last are real; between them stand pairs (re, im). With pSrc the spectrum of x and pSrcDst that of y, the
 * inverse transform is the circular cross-correlation of x with y. Accuracy: each product and sum rounded once, the
 * same bits in every build. Statuses: -8 a null pointer; -6 len < 1. */
KIVSR_API KivStatus kivsMulPackConj_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len);

/** @} */

KIVSR_END_DECLS

#endif
