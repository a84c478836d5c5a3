/* The block-diagonal matrix object. */
#ifndef KIVSR_FRAME_BLOCK_DIAGONAL_H
#define KIVSR_FRAME_BLOCK_DIAGONAL_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup blockdiagonal Block-diagonal matrix
 *
 * A symmetric matrix of square blocks on its diagonal, such as the inverse covariance of a Gaussian whose features are
 * correlated in groups. The handle read as a pointer gives the array of N row pointers, N the sum of the block sizes;
 * row r holds the elements of its block only. The library only reads the object: threads may share it.
 *
 * @code{.c}
 * const Kiv32f alone[1] = {2}, first[2] = {1, 0.5F}, second[2] = {0.5F, 1};
 * const Kiv32f* rows[3] = {alone, first, second};  // a block of one row, one of two
 * const int sizes[2] = {1, 2};
 * const Kiv32f frame[3] = {1, 1, 1}, mean[3] = {0, 0, 0};
 * Kiv32f** precision;
 * Kiv32f score;
 * assert(kivsBlockDMatrixInitAlloc_32f(&precision, rows, sizes, 2) == kivStatusOk);
 * kivsLogGaussSingle_BlockDVar_32f(frame, mean, (const Kiv32f* const*)precision, 3, &score, 0);
 * assert(score == -2.5F);  // -1/2 (2 + 1 + 0.5 + 0.5 + 1)
 * kivsBlockDMatrixFree_32f(precision);
 * @endcode
 *
 * Layout, one allocation: at a 16-byte boundary a header (row-pointer array, block sizes, raw block: three pointers;
 * two 16-bit counts, blocks then rows), the block sizes (int), the row pointers from the next 16-byte boundary, the
 * rows from the next, each padded to 16 bytes.
 * @{ */

/** @name Construction
 * @{ */
/** Copies the first b elements of each source row, b the size of the block that the row belongs to.
 * @param[out] pMatrix the handle; unchanged on failure
 * @param[in] pSrc N row pointers
 * @param[in] pBlockSizes nBlocks numbers of rows
 * @param[in] nBlocks number of blocks
 * @return kivStatusNullPointer; kivStatusBadSize: nBlocks < 1 or a block size < 1; kivStatusNoMemory: the object would
 * be larger than int can count, or has more than 65535 rows or blocks, or allocation failed */
KIVSR_API KivStatus kivsBlockDMatrixInitAlloc_16s(Kiv16s*** pMatrix, const Kiv16s* const* pSrc, const int* pBlockSizes,
                                                  int nBlocks);
KIVSR_API KivStatus kivsBlockDMatrixInitAlloc_32f(Kiv32f*** pMatrix, const Kiv32f* const* pSrc, const int* pBlockSizes,
                                                  int nBlocks);
KIVSR_API KivStatus kivsBlockDMatrixInitAlloc_64f(Kiv64f*** pMatrix, const Kiv64f* const* pSrc, const int* pBlockSizes,
                                                  int nBlocks);
/** @} */

/** @name Release
 * @{ */
/** Releases a matrix.
 * @param[in] pMatrix the handle
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsBlockDMatrixFree_16s(Kiv16s** pMatrix);
KIVSR_API KivStatus kivsBlockDMatrixFree_32f(Kiv32f** pMatrix);
KIVSR_API KivStatus kivsBlockDMatrixFree_64f(Kiv64f** pMatrix);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
