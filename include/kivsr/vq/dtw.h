/* Dynamic time warping of feature vectors. */
#ifndef KIVSR_VQ_DTW_H
#define KIVSR_VQ_DTW_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup dtw Dynamic time warping
 *
 * The least sum of distances along a path that pairs the rows of two sequences, each row at least once and in order:
 *
 *     D(0, 0) = d(0, 0),   D(i, j) = d(i, j) + min(D(i-1, j-1), D(i-1, j), D(i, j-1))
 *
 * with d(i, j) the Euclidean distance of row i of the first sequence and row j of the second one (H. Sakoe, S. Chiba,
 * IEEE Trans. ASSP 26(1), 1978). Templates of words without training, spoken examples found in recordings, alignment of
 * two readings. The result is D of the two last rows, not normalised.
 *
 * | | cells | result |
 * |----------------|--------------------------------|---------------------------------------------------|
 * | DTW_L2 | of a band | D: 32f, 16s32s_Sfs |
 * | DTW_L2Low | of a band | D of distances that saturate: 16s32s_Sfs |
 * | DTW_L2Thresh | of a band, while D <= thresh | D, or infinity above the threshold |
 * | DTW_L2Path | of a band | D and the pairs (i, j) of its path |
 * | DTW_L2Open | all; paths begin in any column | for every row j the best path that ends there |
 *
 * The band: cells with |i (height2 - 1) - j (height1 - 1)| <= band (height1 - 1), that is band columns to either side
 * of the diagonal; all cells if it is negative. A distance that is not a number closes its cell. Where no path is left
 * the result is infinity, of integers the largest one, with kivStatusInfResult.
 *
 * Accuracy: distances reduction(width), sums of at most height1 + height2 - 1 of them in single precision. The integer
 * members sum in double precision and round once: the result times 2^-scaleFactor to nearest (ties to even), saturated.
 * Low differences saturate to 16 bits and the sum of their squares to 32. D2 and D2L agree bit for bit, and so do a
 * band that holds the path and none.
 *
 * Memory: the second sequence once more and a row of sums, Path 4 bytes for each cell of the band; small ones stay
 * on the stack.
 *
 * @code{.c}
 * const Kiv32f word[3] = {1, 5, 2};
 * const Kiv32f slow[5] = {1, 1, 5, 5, 3};
 * const Kiv32f sound[8] = {9, 9, 1, 5, 2, 9, 9, 9};
 * Kiv32f distance, ends[8];
 * Kiv32s path[2 * (3 + 5 - 1)], starts[8];
 * int length;
 * assert(kivsDTW_L2Path_32f_D2(word, 1, 3, slow, 1, 5, 1, &distance, path, &length, -1) == kivStatusOk);
 * assert(distance == 1 && length == 5 && path[2 * 3] == 1 && path[2 * 3 + 1] == 3);  // (0,0) (0,1) (1,2) (1,3) (2,4)
 * assert(kivsDTW_L2Open_32f_D2(word, 1, 3, sound, 1, 8, 1, ends, starts) == kivStatusOk);
 * assert(ends[4] == 0 && starts[4] == 2);  // the word stands in rows 2 to 4
 * @endcode
 * @{ */

/** @name Members
 * @param[in] pSrc1,ppSrc1 the first sequence: its first row, or height1 row pointers
 * @param[in] step1 elements from one row of it to the next (D2)
 * @param[in] height1 its rows
 * @param[in] pSrc2,ppSrc2 the second sequence: its first row, or height2 row pointers
 * @param[in] step2 elements from one row of it to the next (D2)
 * @param[in] height2 its rows
 * @param[in] width elements of a row
 * @param[out] pDist the result; of Open height2 results, the best sums of paths from the first to the last row of the
 * first sequence that end in row j of the second one
 * @param[in] band columns to either side of the diagonal, or negative: all
 * @param[in] thresh largest sum of interest: cells above it are left out
 * @param[out] pPath pairs (i, j) from (0, 0) on, up to height1 + height2 - 1 of them; on equal sums both sequences go
 * on, else the first one
 * @param[out] pPathLen number of pairs, 0 if there is no path
 * @param[out] pStart height2 rows of the second sequence in which these paths begin, -1 where there is no path
 * @param[in] scaleFactor of the result
 * @return kivStatusNullPointer; kivStatusBadSize: height1, height2 or width < 1; kivStatusBadStep: a step < width;
 * kivStatusNoMemory; warning kivStatusInfResult: infinity was written
 * @{ */
KIVSR_API KivStatus kivsDTW_L2_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2,
                                      int height2, int width, Kiv32f* pDist, int band);
KIVSR_API KivStatus kivsDTW_L2_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2,
                                       int height2, int width, Kiv32f* pDist, int band);
KIVSR_API KivStatus kivsDTW_L2_16s32s_D2Sfs(const Kiv16s* pSrc1, int step1, int height1, const Kiv16s* pSrc2, int step2,
                                            int height2, int width, Kiv32s* pDist, int band, int scaleFactor);
KIVSR_API KivStatus kivsDTW_L2_16s32s_D2LSfs(const Kiv16s* const* ppSrc1, int height1, const Kiv16s* const* ppSrc2,
                                             int height2, int width, Kiv32s* pDist, int band, int scaleFactor);
KIVSR_API KivStatus kivsDTW_L2Low_16s32s_D2Sfs(const Kiv16s* pSrc1, int step1, int height1, const Kiv16s* pSrc2,
                                               int step2, int height2, int width, Kiv32s* pDist, int band,
                                               int scaleFactor);
KIVSR_API KivStatus kivsDTW_L2Low_16s32s_D2LSfs(const Kiv16s* const* ppSrc1, int height1, const Kiv16s* const* ppSrc2,
                                                int height2, int width, Kiv32s* pDist, int band, int scaleFactor);
KIVSR_API KivStatus kivsDTW_L2Thresh_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2,
                                            int height2, int width, Kiv32f* pDist, int band, Kiv32f thresh);
KIVSR_API KivStatus kivsDTW_L2Thresh_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2,
                                             int height2, int width, Kiv32f* pDist, int band, Kiv32f thresh);
KIVSR_API KivStatus kivsDTW_L2Path_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2,
                                          int height2, int width, Kiv32f* pDist, Kiv32s* pPath, int* pPathLen,
                                          int band);
KIVSR_API KivStatus kivsDTW_L2Path_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2,
                                           int height2, int width, Kiv32f* pDist, Kiv32s* pPath, int* pPathLen,
                                           int band);
KIVSR_API KivStatus kivsDTW_L2Open_32f_D2(const Kiv32f* pSrc1, int step1, int height1, const Kiv32f* pSrc2, int step2,
                                          int height2, int width, Kiv32f* pDist, Kiv32s* pStart);
KIVSR_API KivStatus kivsDTW_L2Open_32f_D2L(const Kiv32f* const* ppSrc1, int height1, const Kiv32f* const* ppSrc2,
                                           int height2, int width, Kiv32f* pDist, Kiv32s* pStart);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
