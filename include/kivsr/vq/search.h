/* Search of codebooks, quantisation of split vectors, vectors rebuilt from indices. */
#ifndef KIVSR_VQ_SEARCH_H
#define KIVSR_VQ_SEARCH_H

#include "codebook.h"

KIVSR_BEGIN_DECLS

/** @defgroup vqsearch Search
 *
 * D is the distance of @ref codebook. Functions with Dist in their name return its root: as Kiv32f, or for 16s vectors
 * as Kiv32s, the root times 2^-scaleFactor in single precision, rounded to nearest (ties to even) and saturated.
 *
 * A full-search book gives the codeword of least D, of equal ones the lowest index (the grid included). A trained book
 * of 64 codewords or less, and any that is searched whole, gives the nearest codeword, of nearly equal ones the one
 * farther right in the tree of clusters for small books; a larger one looks into the groups of codewords whose common
 * centroids are near, as far out as brings the mean D over the training vectors within 2 % of the least. A vector
 * without a distance below infinity (NaN, overflow) gets index 0. Accuracy of distances: reduction(width).
 *
 * Scratch memory is private to the call: on the stack up to 128 elements of width, else from the allocator.
 * @{ */

/** The nearest codeword of each of height rows, row r at pSrc + r * step. pIndx and pDist: height elements.
 * Statuses in order: -8 a null pointer; -6 step or height < 1; -6 step < width; -9. */
KIVSR_API KivStatus kivsVQ_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsVQ_16s(const Kiv16s* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_16s* pCdbk);
KIVSR_API KivStatus kivsVQDist_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, Kiv32f* pDist, int height,
                                   const KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsVQDist_16s32s_Sfs(const Kiv16s* pSrc, int step, Kiv32s* pIndx, Kiv32s* pDist, int height,
                                          const KivsCdbkState_16s* pCdbk, int scaleFactor);

/** The num codewords nearest to one vector by increasing D, of equal ones the lower index first. Every codeword is
 * compared. Statuses in order: -8 a null pointer; -6 num < 1 or above the number of codewords; -9. */
KIVSR_API KivStatus kivsVQSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk, int num);
KIVSR_API KivStatus kivsVQSingle_Sort_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk, int num);
KIVSR_API KivStatus kivsVQDistSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist,
                                              const KivsCdbkState_32f* pCdbk, int num);
KIVSR_API KivStatus kivsVQDistSingle_Sort_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist,
                                                     const KivsCdbkState_16s* pCdbk, int num, int scaleFactor);

/** All codewords with D <= 1.000001 d^2 relThresh^2, d the distance that VQDist returns; ordered as by Sort. *pCount
 * receives their number, up to all codewords of the book, for which pIndx and pDist have room.
 * Statuses in order: -8 a null pointer; -5 relThresh below 1 or NaN; -9. */
KIVSR_API KivStatus kivsVQSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk,
                                            Kiv32f relThresh, int* pCount);
KIVSR_API KivStatus kivsVQSingle_Thresh_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk,
                                            Kiv32f relThresh, int* pCount);
KIVSR_API KivStatus kivsVQDistSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist,
                                                const KivsCdbkState_32f* pCdbk, Kiv32f relThresh, int* pCount);
KIVSR_API KivStatus kivsVQDistSingle_Thresh_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist,
                                                       const KivsCdbkState_16s* pCdbk, Kiv32f relThresh, int* pCount,
                                                       int scaleFactor);
/** @} */

/** @defgroup splitvq Split vectors
 *
 * A vector is cut into nStreams pieces, back to back from element 0 of its row, one codebook for each; a row of indices
 * holds the index of each piece. The first type of SplitVQ is that of the vectors and the second the format of the
 * indices, in FormVectorVQ the other way round. Formats:
 *  - 16s, 8u: one element an index, row r at r * step elements. 8u books have at most 256 codewords.
 *  - 1u: fields of the index bits of each book, most significant bit first (bit 7 of a byte is its first), without gaps
 *    and across bytes; row r starts at bit r * step. Bits outside the fields are left alone.
 * @{ */

/** Quantises each piece as VQ does. Statuses in order: -8 a null array; -6 a step, height or nStreams < 1, or nStreams
 * > dstStep; -8 a null codebook; -6 the widths exceed srcStep, the bits dstStep (1u), or a book the range of the
 * format; -9, before anything is written. */
KIVSR_API KivStatus kivsSplitVQ_32f16s(const Kiv32f* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                       const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_32f8u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_32f1u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                       const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s8u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s1u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_16s** ppCdbks, int nStreams);

/** Rebuilds vectors: the codewords of a row's indices back to back in the output row. Statuses in order: -8 a null
 * array; -6 nStreams, a step or height < 1, or nStreams > srcStep (16s, 8u); -8 a null codebook; -6 the widths exceed
 * dstStep or the bits srcStep (1u); -6 an index that names no codeword. Nothing is written unless all is well. */
KIVSR_API KivStatus kivsFormVectorVQ_16s32f(const Kiv16s* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                            const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_8u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                           const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_1u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                           const KivsCdbkState_32f** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                            const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_8u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                           const KivsCdbkState_16s** ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_1u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                           const KivsCdbkState_16s** ppCdbks, int nStreams);
/** @} */

/** @defgroup formvector Vectors from plain tables
 *
 * kivsFormVector: pDst receives, for k = 0 ... nStreams - 1 back to back, the pWidth[k] elements that start at element
 * pInd[k] * pStep[k] of table ppCdbk[k], a table of pCdbkSize[k] codewords. A step below the width overlaps codewords.
 * kivsFormVector_2i, _4i: codewords of 2 or 4 elements without padding; len elements, of which a rest that fills no
 * codeword is left alone.
 *
 * Statuses in order, all before anything is written: -8 a null argument; -6 nStreams or len < 1; then for each stream
 * -6 a width or step < 1 or an index that is negative or not below the size (of 8u only the latter can be), -8 a null
 * table.
 * @{ */
KIVSR_API KivStatus kivsFormVector_8u32f(const Kiv8u* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize,
                                         const int* pWidth, const int* pStep, int nStreams, Kiv32f* pDst);
KIVSR_API KivStatus kivsFormVector_2i_8u32f(const Kiv8u* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize,
                                            Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_8u32f(const Kiv8u* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize,
                                            Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_16s32f(const Kiv16s* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize,
                                          const int* pWidth, const int* pStep, int nStreams, Kiv32f* pDst);
KIVSR_API KivStatus kivsFormVector_2i_16s32f(const Kiv16s* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize,
                                             Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_16s32f(const Kiv16s* pInd, const Kiv32f** ppCdbk, const int* pCdbkSize,
                                             Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_8u16s(const Kiv8u* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize,
                                         const int* pWidth, const int* pStep, int nStreams, Kiv16s* pDst);
KIVSR_API KivStatus kivsFormVector_2i_8u16s(const Kiv8u* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize,
                                            Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_8u16s(const Kiv8u* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize,
                                            Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_16s16s(const Kiv16s* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize,
                                          const int* pWidth, const int* pStep, int nStreams, Kiv16s* pDst);
KIVSR_API KivStatus kivsFormVector_2i_16s16s(const Kiv16s* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize,
                                             Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_16s16s(const Kiv16s* pInd, const Kiv16s** ppCdbk, const int* pCdbkSize,
                                             Kiv16s* pDst, int len);
/** @} */

KIVSR_END_DECLS

#endif
