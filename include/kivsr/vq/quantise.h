/* Vector quantisation: the nearest codeword, the nearest few, all within a radius. */
#ifndef KIVSR_VQ_QUANTISE_H
#define KIVSR_VQ_QUANTISE_H

#include "codebook.h"

KIVSR_BEGIN_DECLS

/** @defgroup quantise Vector quantisation
 *
 * D is the distance of @ref codebook. Functions with Dist in their name return its root: as Kiv32f, or for 16s vectors
 * as Kiv32s, the root times 2^-scaleFactor in single precision, rounded to nearest (ties to even) and saturated.
 *
 * |                              | indices                   | indices and roots                       |
 * |------------------------------|---------------------------|-----------------------------------------|
 * | the nearest, of many rows    | VQ: 32f, 16s              | VQDist: 32f, 16s32s_Sfs                 |
 * | the nearest few, of a vector | VQSingle_Sort: 32f, 16s   | VQDistSingle_Sort: 32f, 16s32s_Sfs      |
 * | all within a radius          | VQSingle_Thresh: 32f, 16s | VQDistSingle_Thresh: 32f, 16s32s_Sfs    |
 *
 * A full-search book gives the codeword of least D, of equal ones the lowest index (the grid included). A trained book
 * of fewer than 32 codewords, and any that is searched whole, gives the nearest codeword, of nearly equal ones the one
 * farther right in the tree of clusters for small books; a larger one looks into the groups of codewords whose common
 * centroids are near, as far out as brings the mean D over the training vectors within 2 % of the least. A vector
 * without a distance below infinity (NaN, overflow) gets index 0. Accuracy of distances: reduction(width).
 *
 * Scratch memory is private to the call: on the stack up to 128 elements of width, else from the allocator.
 *
 * @code{.c}
 * const Kiv32f codewords[3] = {0, 10, 20};
 * const Kiv32f x[1] = {7};
 * KivsCdbkState_32f* book;
 * Kiv32s indices[3];
 * Kiv32f roots[3];
 * int count;
 * kivsCdbkInitAlloc_L2_32f(&book, codewords, 1, 1, 3, 3, kivCdbkFullSearch);
 * assert(kivsVQDist_32f(x, 1, indices, roots, 1, book) == kivStatusOk && indices[0] == 1 && roots[0] == 3);
 * assert(kivsVQSingle_Sort_32f(x, indices, book, 3) == kivStatusOk);
 * assert(indices[0] == 1 && indices[1] == 0 && indices[2] == 2);
 * assert(kivsVQSingle_Thresh_32f(x, indices, book, 2.5F, &count) == kivStatusOk && count == 2);  // up to 7.5 away
 * kivsCdbkFree_32f(book);
 * @endcode
 * @{ */

/** @name Nearest codeword
 * @{ */
/** The nearest codeword of each row.
 * @param[in] pSrc height rows of the book's width, row r at pSrc + r * step
 * @param[in] step elements from one row to the next, at least the width
 * @param[out] pIndx height indices
 * @param[in] height number of rows
 * @param[in] pCdbk the book
 * @return kivStatusNullPointer; kivStatusBadSize: step or height < 1; kivStatusBadSize: step < width;
 * kivStatusNoMemory */
KIVSR_API KivStatus kivsVQ_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_32f* pCdbk);
KIVSR_API KivStatus kivsVQ_16s(const Kiv16s* pSrc, int step, Kiv32s* pIndx, int height, const KivsCdbkState_16s* pCdbk);
/** @copydoc kivsVQ_32f
 * @param[out] pDist height roots of D */
KIVSR_API KivStatus kivsVQDist_32f(const Kiv32f* pSrc, int step, Kiv32s* pIndx, Kiv32f* pDist, int height,
                                   const KivsCdbkState_32f* pCdbk);
/** @copydoc kivsVQ_32f
 * @param[out] pDist height scaled roots of D
 * @param[in] scaleFactor the roots are multiplied by 2^-scaleFactor */
KIVSR_API KivStatus kivsVQDist_16s32s_Sfs(const Kiv16s* pSrc, int step, Kiv32s* pIndx, Kiv32s* pDist, int height,
                                          const KivsCdbkState_16s* pCdbk, int scaleFactor);
/** @} */

/** @name Nearest few codewords
 * @{ */
/** The num codewords nearest to one vector by increasing D, of equal ones the lower index first. Every codeword is
 * compared.
 * @param[in] pSrc the vector, of the book's width
 * @param[out] pIndx num indices
 * @param[in] pCdbk the book
 * @param[in] num how many, at most the codewords of the book
 * @return kivStatusNullPointer; kivStatusBadSize: num < 1 or above the number of codewords; kivStatusNoMemory */
KIVSR_API KivStatus kivsVQSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk, int num);
KIVSR_API KivStatus kivsVQSingle_Sort_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk, int num);
/** @copydoc kivsVQSingle_Sort_32f
 * @param[out] pDist num roots of D */
KIVSR_API KivStatus kivsVQDistSingle_Sort_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist,
                                              const KivsCdbkState_32f* pCdbk, int num);
/** @copydoc kivsVQSingle_Sort_32f
 * @param[out] pDist num scaled roots of D
 * @param[in] scaleFactor the roots are multiplied by 2^-scaleFactor */
KIVSR_API KivStatus kivsVQDistSingle_Sort_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist,
                                                     const KivsCdbkState_16s* pCdbk, int num, int scaleFactor);
/** @} */

/** @name Codewords within a radius
 * @{ */
/** All codewords with D <= 1.000001 d^2 relThresh^2, d the root that VQDist returns; ordered as by Sort.
 * @param[in] pSrc the vector, of the book's width
 * @param[out] pIndx the indices; room for all codewords of the book
 * @param[in] pCdbk the book
 * @param[in] relThresh the radius relative to the nearest codeword, at least 1
 * @param[out] pCount number of indices
 * @return kivStatusNullPointer; kivStatusBadArgument: relThresh below 1 or NaN; kivStatusNoMemory */
KIVSR_API KivStatus kivsVQSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, const KivsCdbkState_32f* pCdbk,
                                            Kiv32f relThresh, int* pCount);
KIVSR_API KivStatus kivsVQSingle_Thresh_16s(const Kiv16s* pSrc, Kiv32s* pIndx, const KivsCdbkState_16s* pCdbk,
                                            Kiv32f relThresh, int* pCount);
/** @copydoc kivsVQSingle_Thresh_32f
 * @param[out] pDist the roots of D; room for all codewords of the book */
KIVSR_API KivStatus kivsVQDistSingle_Thresh_32f(const Kiv32f* pSrc, Kiv32s* pIndx, Kiv32f* pDist,
                                                const KivsCdbkState_32f* pCdbk, Kiv32f relThresh, int* pCount);
/** @copydoc kivsVQSingle_Thresh_32f
 * @param[out] pDist the scaled roots of D; room for all codewords of the book
 * @param[in] scaleFactor the roots are multiplied by 2^-scaleFactor */
KIVSR_API KivStatus kivsVQDistSingle_Thresh_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pIndx, Kiv32s* pDist,
                                                       const KivsCdbkState_16s* pCdbk, Kiv32f relThresh, int* pCount,
                                                       int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
