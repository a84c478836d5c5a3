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
 * @code{.c}
 * const Kiv32f rows[6 * 2] = {0, 0, 0, 2, 2, 0, 10, 10, 10, 12, 12, 10};  // two clusters
 * KivsCdbkState_32f* book;
 * Kiv32f codewords[2 * 2], distances[6];
 * Kiv32s indices[6];
 * int count, i;
 * assert(kivsCdbkInitAlloc_L2_32f(&book, rows, 2, 2, 6, 2, kivCdbkSplitWidest) == kivStatusOk);
 * assert(kivsGetCdbkSize_32f(book, &count) == kivStatusOk && count == 2);
 * assert(kivsGetCodebook_32f(book, codewords, 2) == kivStatusOk);
 * assert(kivsVQDist_32f(rows, 2, indices, distances, 6, book) == kivStatusOk);
 * for (i = 0; i < 6; ++i) {
 *   const Kiv32f* mean = codewords + 2 * indices[i];
 *   assert(fabs(mean[0] - (i < 3 ? 2.0 / 3 : 32.0 / 3)) < 1e-5 && distances[i] < 1.5);
 * }
 * kivsCdbkFree_32f(book);
 * @endcode
 *
 * The hint tells how the codewords are made of the rows:
 *
 * | hint                  | codewords                                                                                 |
 * |-----------------------|-------------------------------------------------------------------------------------------|
 * | `kivCdbkFullSearch`   | all `height` rows, in order, whatever `cdbkSize` is                                       |
 * | `kivCdbkSplitWidest`  | centroids of clusters; the cluster of the greatest spread is split next                   |
 * | `kivCdbkSplitLargest` | centroids of clusters; of those with a spread the one with the most members is split next |
 *
 * Full-search books of width 1 and 2 with more than 10 rows may get a grid that shortens the search and does not change
 * its result.
 *
 * Training starts from one cluster of all rows. The spread of a cluster is twice the largest D of a member to the
 * centroid. Of the cluster that is split, the half of the members that is nearest to the centroid leaves for a new
 * cluster, and at most 20 passes of k-means over all clusters follow; they end early when no row moves and the sum of
 * all D changes by less than one in 10000. Codeword i is the centroid of cluster i, rounded to nearest for 16s. NaN
 * among the rows ends the training early. Comparisons are tolerant: one value is less than another if it is so by a
 * factor of 1.000001, so that of nearly equal candidates the first is taken. Time grows about linearly with the rows,
 * the codewords and the width.
 *
 * In packed rows (see @ref splitvector) an index of the book takes 0 bits for one codeword, else as many as count - 1
 * needs.
 *
 * Source of the method: Y. Linde, A. Buzo, R. Gray, An algorithm for vector quantizer design, IEEE Trans.
 * Communications 28 (1980).
 * @{ */

/** @name Books in library memory, weights of 1
 * @{ */
/** Makes a book; release it with the Free of its type. *ppCdbk is written on success and warning only.
 * @param[out] ppCdbk the book
 * @param[in] pSrc height rows of width elements, row r at pSrc + r * step
 * @param[in] width elements of a row and of a codeword
 * @param[in] step elements from one row to the next, at least width
 * @param[in] height number of rows
 * @param[in] cdbkSize wanted number of codewords, at most height and 16383
 * @param[in] hint how the codewords are made
 * @return kivStatusBadSize: width < 1; kivStatusNoMemory for the weights; kivStatusNullPointer; kivStatusBadSize: step,
 * height or cdbkSize < 1, width > step, cdbkSize > 16383 or > height; kivStatusNoMemory; kivStatusBadHint;
 * kivStatusBadArgument: the halves of a cluster stay alike, because no member is farther than D = 1e-5 from their
 * common centroid. Warning: kivStatusCdbkSizeWarning, a full-search book of cdbkSize other than height, or a training
 * that ended with fewer clusters because none is left that has a spread. */
KIVSR_API KivStatus kivsCdbkInitAlloc_L2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, int width, int step,
                                             int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInitAlloc_L2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, int width, int step,
                                             int height, int cdbkSize, KivCdbkHint hint);
/** @} */

/** @name Books in library memory, weighted
 * @{ */
/** Makes a book as the L2 form does, with a copy of the caller's weights.
 * @param[out] ppCdbk the book
 * @param[in] pSrc height rows of width elements, row r at pSrc + r * step
 * @param[in] pWeight width weights, none negative
 * @param[in] width elements of a row and of a codeword
 * @param[in] step elements from one row to the next, at least width
 * @param[in] height number of rows
 * @param[in] cdbkSize wanted number of codewords, at most height and 16383
 * @param[in] hint how the codewords are made
 * @return kivStatusNullPointer; kivStatusBadSize: width, step, height or cdbkSize < 1, width > step, cdbkSize > 16383
 * or > height; kivStatusBadArgument: a weight that is negative or NaN; then as the L2 form from kivStatusNoMemory on */
KIVSR_API KivStatus kivsCdbkInitAlloc_WgtL2_32f(KivsCdbkState_32f** ppCdbk, const Kiv32f* pSrc, const Kiv32f* pWeight,
                                                int width, int step, int height, int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInitAlloc_WgtL2_16s(KivsCdbkState_16s** ppCdbk, const Kiv16s* pSrc, const Kiv16s* pWeight,
                                                int width, int step, int height, int cdbkSize, KivCdbkHint hint);
/** @} */

/** @name Release
 * @{ */
/** Releases a book from InitAlloc and everything it owns.
 * @param[in] pCdbk the book
 * @return kivStatusNullPointer: a null state or one without codewords; kivStatusInternalError: its stored hint is none
 * of the three, and nothing is released */
KIVSR_API KivStatus kivsCdbkFree_32f(KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsCdbkFree_16s(KivsCdbkState_16s* pCdbk);
/** @} */

/** @name Books in memory of the caller
 * @{ */
/** Makes a full-search book of exactly cdbkSize = height rows with weights of 1; it is never passed to Free. Such a
 * book has no room for a search index: each search call arranges the codewords anew, above some kilobytes in memory
 * from the allocator.
 * @param[out] pCdbk memory of the bytes that GetSize gives, aligned like a pointer
 * @param[in] pSrc height rows of width elements, row r at pSrc + r * step
 * @param[in] width elements of a row and of a codeword
 * @param[in] step elements from one row to the next, at least width
 * @param[in] height number of rows
 * @param[in] cdbkSize number of codewords, equal to height, at most 16383
 * @param[in] hint kivCdbkFullSearch
 * @return kivStatusBadHint; kivStatusNullPointer; kivStatusBadSize: a size < 1, width > step, cdbkSize > 16383 or other
 * than height, or more bytes than int can count */
KIVSR_API KivStatus kivsCdbkInit_L2_32f(KivsCdbkState_32f* pCdbk, const Kiv32f* pSrc, int width, int step, int height,
                                        int cdbkSize, KivCdbkHint hint);
KIVSR_API KivStatus kivsCdbkInit_L2_16s(KivsCdbkState_16s* pCdbk, const Kiv16s* pSrc, int width, int step, int height,
                                        int cdbkSize, KivCdbkHint hint);
/** @} */

/** @name Bytes of a book in memory of the caller
 * @{ */
/** The bytes that Init needs: 4 (cdbkSize + width + stride * cdbkSize) + 144 on i386 (the record is larger on 64-bit
 * targets), with stride = width for widths 1, 2 and 4, else step rounded up to a multiple of 8.
 * @param[in] width elements of a row and of a codeword
 * @param[in] step elements from one row to the next, at least width
 * @param[in] height number of rows
 * @param[in] cdbkSize number of codewords, equal to height, at most 16383
 * @param[in] hint kivCdbkFullSearch
 * @param[out] pSize the bytes
 * @return as Init */
KIVSR_API KivStatus kivsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize);
KIVSR_API KivStatus kivsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, KivCdbkHint hint, int* pSize);
/** @} */

/** @name Number of codewords
 * @{ */
/** @param[in] pCdbk the book
 * @param[out] pCount its number of codewords
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsGetCdbkSize_32f(const KivsCdbkState_32f* pCdbk, int* pCount);
KIVSR_API KivStatus kivsGetCdbkSize_16s(const KivsCdbkState_16s* pCdbk, int* pCount);
/** @} */

/** @name Codewords
 * @{ */
/** Copies the codewords.
 * @param[in] pCdbk the book
 * @param[out] pDst codeword i at pDst + i * step
 * @param[in] step elements from one codeword to the next, at least the width of the book
 * @return kivStatusNullPointer; kivStatusBadSize: step < 1 or below the width */
KIVSR_API KivStatus kivsGetCodebook_32f(const KivsCdbkState_32f* pCdbk, Kiv32f* pDst, int step);
KIVSR_API KivStatus kivsGetCodebook_16s(const KivsCdbkState_16s* pCdbk, Kiv16s* pDst, int step);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
