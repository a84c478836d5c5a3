/* Power and magnitude spectra of several signals side by side. */
#ifndef KIVSR_VECTOR_DFT_COLUMNS_H
#define KIVSR_VECTOR_DFT_COLUMNS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup dft_columns Real DFT of columns
 *
 * The real DFT of several signals of one length, each a column of a matrix of N rows: sample n of signal c stands at
 * pSrc[n * columns + c]. For k = 0 .. N/2 (N/2 rounded down),
 *
 *     X_k = f * sum over n of x_n exp(-2 pi i k n / N),    N = 2^a 3^b 5^c, up to 2^28,
 *
 * with f = 1/N, 1/sqrt(N) or 1 as the flag of an object says (kivFftScaleForward, kivFftScaleSqrt, else 1). Every lane
 * of a register holds a signal of its own, so that nothing has to change its lane: for the frames of a recording this
 * is the fastest way to spectra (frame_columns.h makes such matrices). Eight columns fill the registers of every build;
 * a number that no eight divide costs as much as the next one that they do.
 *
 * @code{.c}
 * KivsDFTColumnsSpec_R_32f* dft;
 * Kiv32f samples[12][2], power[7][2];
 * int n;
 * for (n = 0; n < 12; ++n) {
 *   samples[n][0] = n % 2 == 0 ? 1.0f : -1.0f;
 *   samples[n][1] = 1.0f;
 * }
 * assert(kivsDFTColumnsInitAlloc_R_32f(&dft, 12, kivFftScaleNone) == kivStatusOk);
 * assert(kivsDFTColumnsPower_R_32f(samples[0], power[0], 2, dft, NULL) == kivStatusOk);
 * assert(power[6][0] == 144 && power[0][1] == 144 && power[0][0] < 1e-9 && power[6][1] < 1e-9);
 * kivsDFTColumnsFree_R_32f(dft);
 * @endcode
 *
 * Method: that of the @ref dft with a register in the place of a number, up to the length of which a group of signals
 * stays in the first cache (512 with eight lanes); longer ones are turned over and transformed one by one.
 * @{ */

/** @name Objects
 *
 * An object holds the tables of one length and one flag. Transforms only read it: one object serves any number of calls
 * and threads. It is not to be moved. Its first word identifies its type until Free clears it. Sizes are in bytes and
 * enough from an address of any alignment.
 *
 * @param[in] length number of samples N of each signal, 1 .. 2^28, with the prime factors 2, 3 and 5 only
 * @param[in] flag kivFftScaleForward, kivFftScaleInverse, kivFftScaleSqrt or kivFftScaleNone
 * @param[out] pSpecSize,pSpecBufferSize sizes of the object and of the temporary memory of Init
 * @param[out] pBufferSize size of the work memory of a transform of any number of columns
 * @param[out] ppSpec the object: in Init the first 32-byte boundary in pMemSpec; unchanged on failure
 * @param[out] pMemSpec memory of the object
 * @param[in] pMemInit temporary memory, free again afterwards; may be null where its size is 0
 * @param[in] pSpec the object
 * @return GetSize: kivStatusBadSize: length, kivStatusNullPointer, kivStatusFftFlagError, kivStatusBadSize: more than
 * int counts. Init: kivStatusNullPointer (ppSpec), kivStatusBadSize, kivStatusNullPointer (pMemSpec),
 * kivStatusFftFlagError, kivStatusNullPointer (pMemInit). InitAlloc: kivStatusNullPointer, kivStatusBadSize,
 * kivStatusFftFlagError, kivStatusNoMemory. Free and GetBufSize: kivStatusNullPointer, kivStatusContextMismatch: not
 * such an object; GetBufSize then kivStatusBadSize. On any of them nothing is written
 * @{ */
KIVSR_API KivStatus kivsDFTColumnsGetSize_R_32f(int length, int flag, int* pSpecSize, int* pSpecBufferSize,
                                                int* pBufferSize);
KIVSR_API KivStatus kivsDFTColumnsInit_R_32f(KivsDFTColumnsSpec_R_32f** ppSpec, int length, int flag, Kiv8u* pMemSpec,
                                             Kiv8u* pMemInit);
KIVSR_API KivStatus kivsDFTColumnsInitAlloc_R_32f(KivsDFTColumnsSpec_R_32f** ppSpec, int length, int flag);
KIVSR_API KivStatus kivsDFTColumnsFree_R_32f(KivsDFTColumnsSpec_R_32f* pSpec);
KIVSR_API KivStatus kivsDFTColumnsGetBufSize_R_32f(const KivsDFTColumnsSpec_R_32f* pSpec, int* pBufferSize);
/** @} */

/** @name Transforms
 *
 * Power: |X_k|^2. Magnitude: its square root; magnitudes beyond 1.8e19 overflow, those below 1.1e-19 may be zero.
 *
 * Accuracy: the root mean square error of X relative to the spectrum is below 2e-7 * sqrt(log2 N). A signal has the
 * same bits however many stand beside it. A NaN or an infinity stays in its column.
 *
 * @param[in] pSrc N rows of samples
 * @param[out] pDst N/2 + 1 rows; must not overlap pSrc
 * @param[in] columns number of signals
 * @param[in] pSpec the object
 * @param pBuffer work memory of the reported size at any address; null takes it from the allocator for this call
 * @return kivStatusNullPointer (pSpec), kivStatusContextMismatch: not such an object, kivStatusNullPointer (pSrc,
 * pDst), kivStatusBadSize: columns < 1, kivStatusNoMemory: none for the work memory
 * @{ */
KIVSR_API KivStatus kivsDFTColumnsPower_R_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns,
                                              const KivsDFTColumnsSpec_R_32f* pSpec, Kiv8u* pBuffer);
KIVSR_API KivStatus kivsDFTColumnsMagnitude_R_32f(const Kiv32f* pSrc, Kiv32f* pDst, int columns,
                                                  const KivsDFTColumnsSpec_R_32f* pSpec, Kiv8u* pBuffer);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
