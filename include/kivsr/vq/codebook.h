/* Codebooks: sets of reference vectors, taken as they are or trained. */
#ifndef KIVSR_VQ_CODEBOOK_H
#define KIVSR_VQ_CODEBOOK_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup codebook Codebooks
 *
 * A codebook holds `count` codewords of `width` elements and a weight w_j for each element. The distance of a vector to
 * a codeword is D = sum_j w_j (x_j - c_j)^2, accumulated in single precision. A state is read-only once it is made:
 * any number of threads may search it at once.
 *
 * The training matrix pSrc has `height` rows of `width` elements, row r at pSrc + r * step. Hints:
 *  - kivCdbkFullSearch: the codewords are all `height` rows, in order, whatever cdbkSize is; another cdbkSize than
 *    height gives the warning 31. Books of width 1 and 2 with more than 10 rows may get a grid that shortens the search
 *    and does not change its result.
 *  - kivCdbkSplitWidest, kivCdbkSplitLargest: trained. Starting from one cluster of all rows, the cluster with the
 *    greatest spread (twice the largest distance of a member to the centroid), or with the most members among those of
 *    a spread above zero, is split: the half of its members that is nearest to the centroid leaves for a new cluster,
 *    and at most 20 passes of k-means over all clusters follow. Codeword i is the centroid of cluster i, rounded to
 *    nearest for 16s. Fewer than cdbkSize clusters (the rest have no spread) give the warning 31; two halves that stay
 *    alike because no member is farther than 1e-5 (D) from their common centroid fail with -5. NaN among the rows ends
 *    the training early. Time grows about linearly with the rows, the codewords and the width.
 *
 * Comparisons of training are tolerant: one value is less than another if it is so by a factor of 1.000001, so that of
 * nearly equal candidates the first is taken. An index of the book takes 0 bits for one codeword, else as many as
 * count - 1 needs.
 *
 * Source of the method: Y. Linde, A. Buzo, R. Gray, An algorithm for vector quantizer design, IEEE Trans.
 * Communications 28 (1980).
 * @{ */

/** Makes a book in library memory; release it with the Free of its type. The L2 form has weights of 1, the WgtL2 form
 * copies pWeight (width elements). Statuses in order: L2 only: -6 width < 1, -9 no memory for the weights; then -8 a
 * null argument; -6 width, step, height or cdbkSize < 1, width > step, cdbkSize > 16383 or > height; -5 a weight that
 * is negative or NaN; -9 an allocation failed; -66 another hint; -5 a cluster that cannot be split; 31 see above.
 * *ppCdbk is written on success and warning only. */
KIVSR_API KivStatus kivsCdbkInitAlloc_L2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, int width, int step,
                                             int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInitAlloc_L2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, int width, int step,
                                             int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInitAlloc_WgtL2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, const Kiv32f* pWeight,
                                                int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInitAlloc_WgtL2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, const Kiv16s* pWeight,
                                                int width, int step, int height, int cdbkSize, KivCdbkHint hint);
/** Releases a book from InitAlloc and everything it owns. -8: a null state or one without codewords; -9999: its stored
 * hint is none of the three (nothing is released). */
KIVSR_API KivStatus kivsCdbkFree_32f(KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsCdbkFree_16s(KivsCdbkState_16s* pCdbk);

/** A full-search book of exactly cdbkSize = height rows, weights 1, in memory of the caller; never passed to Free.
 * GetSize writes the bytes it needs: 4 * (cdbkSize + width + stride * cdbkSize) + 144 on i386 (the record is larger on
 * 64-bit targets), stride = width for widths 1, 2 and 4, else step rounded up to a multiple of 8. The memory needs the
 * alignment of a pointer. Such a book has no room for a search index: each search call arranges the codewords anew,
 * above some kilobytes in memory from the allocator.
 * Statuses in order: -66 hint is not kivCdbkFullSearch; -8 a null pointer; -6 sizes as of InitAlloc, cdbkSize other
 * than height, or more bytes than int can count. */
KIVSR_API KivStatus kivsCdbkInit_L2_32f(KivsCdbkState_32f* pCdbk, const Kiv32f* pSrc, int width, int step, int height,
                                        int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInit_L2_16s(KivsCdbkState_16s* pCdbk, const Kiv16s* pSrc, int width, int step, int height,
                                        int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize);
KIVSR_API KivStatus kivsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize);

/** The number of codewords. -8: a null pointer. */
KIVSR_API KivStatus kivsGetCdbkSize_32f(const KivsCdbkState_32f* pCdbk, int* pCount);
KIVSR_API KivStatus kivsGetCdbkSize_16s(const KivsCdbkState_16s* pCdbk, int* pCount);
/** Copies the codewords, codeword i to pDst + i * step. -8: a null pointer; -6: step < 1 or below the width. */
KIVSR_API KivStatus kivsGetCodebook_32f(const KivsCdbkState_32f* pCdbk, Kiv32f* pDst, int step);
KIVSR_API KivStatus kivsGetCodebook_16s(const KivsCdbkState_16s* pCdbk, Kiv16s* pDst, int step);
/** @} */

KIVSR_END_DECLS

#endif
