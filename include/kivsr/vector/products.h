/* Products of a matrix with a vector on either side. */
#ifndef KIVSR_VECTOR_PRODUCTS_H
#define KIVSR_VECTOR_PRODUCTS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup products Products of a matrix with a vector
 *
 * Of a matrix M with height rows of width elements:
 *
 *     MatVecMul   dst[r] = sum over j < width of M[r][j] * v[j],     r < height
 *     VecMatMul   dst[j] = sum over r < height of v[r] * M[r][j],    j < width
 *
 * |          | M, v   | dst    | D2  | D2L | sum                                                          |
 * |----------|--------|--------|-----|-----|--------------------------------------------------------------|
 * | 32f      | Kiv32f | Kiv32f | yes | yes | single precision, fused where the processor can              |
 * | 16s_Sfs  | Kiv16s | Kiv16s | yes | yes | exact, then scaled                                           |
 * | 16s32s   | Kiv16s | Kiv32s | yes | yes | exact, then scaled                                           |
 * | 32s_Sfs  | Kiv32s | Kiv32s | yes | yes | exact, converted to double, then scaled                      |
 *
 * Scaled: times 2^-scaleFactor, rounded to nearest (ties to even) and saturated. Accuracy of 32f: reduction(number of
 * terms); the bits depend on the size alone, not on layout, step or alignment.
 *
 * @code{.c}
 * const Kiv32f turn[2 * 3] = {0, -1, 5, 1, 0, 7};  // a turn by 90 degrees and a shift, two rows of three
 * const Kiv32f point[3] = {2, 3, 1};
 * Kiv32f turned[2], sums[3];
 * assert(kivsMatVecMul_32f_D2(turn, 3, point, 3, turned, 2) == kivStatusOk);
 * assert(turned[0] == 2 && turned[1] == 9);
 * assert(kivsVecMatMul_32f_D2(turned, turn, 3, 2, sums, 3) == kivStatusOk);
 * assert(sums[0] == 9 && sums[1] == -2 && sums[2] == 73);
 * @endcode
 * @{ */

/** @name Products
 * @param[in] pSrcMatrix,ppSrcMatrix M: its first row, or height row pointers
 * @param[in] step elements from one row to the next (D2)
 * @param[in] pSrcVec v: width elements (MatVecMul), height elements (VecMatMul)
 * @param[in] width elements of a row
 * @param[in] height number of rows
 * @param[out] pDst height elements (MatVecMul), width elements (VecMatMul); must not overlap a source
 * @param[in] scaleFactor any int
 * @return kivStatusNullPointer; kivStatusBadSize: width or height < 1; kivStatusBadStep: step < width
 * @{ */
KIVSR_API KivStatus kivsMatVecMul_32f_D2(const Kiv32f* pSrcMatrix, int step, const Kiv32f* pSrcVec, int width,
                                         Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMatVecMul_32f_D2L(const Kiv32f* const* ppSrcMatrix, const Kiv32f* pSrcVec, int width,
                                          Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMatVecMul_16s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width,
                                            Kiv16s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s_D2LSfs(const Kiv16s* const* ppSrcMatrix, const Kiv16s* pSrcVec, int width,
                                             Kiv16s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s32s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width,
                                               Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s32s_D2LSfs(const Kiv16s* const* ppSrcMatrix, const Kiv16s* pSrcVec, int width,
                                                Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_32s_D2Sfs(const Kiv32s* pSrcMatrix, int step, const Kiv32s* pSrcVec, int width,
                                            Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_32s_D2LSfs(const Kiv32s* const* ppSrcMatrix, const Kiv32s* pSrcVec, int width,
                                             Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32f_D2(const Kiv32f* pSrcVec, const Kiv32f* pSrcMatrix, int step, int height,
                                         Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsVecMatMul_32f_D2L(const Kiv32f* pSrcVec, const Kiv32f* const* ppSrcMatrix, int height,
                                          Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsVecMatMul_16s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height,
                                            Kiv16s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s* const* ppSrcMatrix, int height,
                                             Kiv16s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s32s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height,
                                               Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s32s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s* const* ppSrcMatrix, int height,
                                                Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32s_D2Sfs(const Kiv32s* pSrcVec, const Kiv32s* pSrcMatrix, int step, int height,
                                            Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32s_D2LSfs(const Kiv32s* pSrcVec, const Kiv32s* const* ppSrcMatrix, int height,
                                             Kiv32s* pDst, int width, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
