/* Products of a matrix with a vector on either side. */
#ifndef KIVSR_VECTOR_PRODUCTS_H
#define KIVSR_VECTOR_PRODUCTS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup products Products of a matrix with a vector
 *
 * The matrix M has height rows of width elements: D2 with a row step in elements, D2L as an array of row pointers.
 * MatVecMul: dst[r] = sum over j < width of M[r][j] * v[j], for r < height.
 * VecMatMul: dst[j] = sum over r < height of v[r] * M[r][j], for j < width.
 *
 * 32f: single precision, fused where the processor can; accuracy class reduction(number of terms). The bits depend on
 * the size alone, not on layout, step or alignment.
 * 16s, 16s32s: the sum is exact, then times 2^-scaleFactor, rounded to nearest (ties to even) and saturated.
 * 32s: the sum is exact; it is converted to double, multiplied by 2^-scaleFactor, rounded to nearest (ties to even) and
 * saturated.
 *
 * The destination must not overlap a source. Statuses in order: -8 a null pointer, -6 width < 1 or height < 1,
 * -37 step < width (D2).
 * @{ */
KIVSR_API KivStatus kivsMatVecMul_32f_D2(const Kiv32f* pSrcMatrix, int step, const Kiv32f* pSrcVec, int width,
                                         Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsMatVecMul_32f_D2L(const Kiv32f** ppSrcMatrix, const Kiv32f* pSrcVec, int width, Kiv32f* pDst,
                                          int height);
KIVSR_API KivStatus kivsMatVecMul_16s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width,
                                            Kiv16s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s_D2LSfs(const Kiv16s** ppSrcMatrix, const Kiv16s* pSrcVec, int width, Kiv16s* pDst,
                                             int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s32s_D2Sfs(const Kiv16s* pSrcMatrix, int step, const Kiv16s* pSrcVec, int width,
                                               Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_16s32s_D2LSfs(const Kiv16s** ppSrcMatrix, const Kiv16s* pSrcVec, int width,
                                                Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_32s_D2Sfs(const Kiv32s* pSrcMatrix, int step, const Kiv32s* pSrcVec, int width,
                                            Kiv32s* pDst, int height, int scaleFactor);
KIVSR_API KivStatus kivsMatVecMul_32s_D2LSfs(const Kiv32s** ppSrcMatrix, const Kiv32s* pSrcVec, int width, Kiv32s* pDst,
                                             int height, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32f_D2(const Kiv32f* pSrcVec, const Kiv32f* pSrcMatrix, int step, int height,
                                         Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsVecMatMul_32f_D2L(const Kiv32f* pSrcVec, const Kiv32f** ppSrcMatrix, int height, Kiv32f* pDst,
                                          int width);
KIVSR_API KivStatus kivsVecMatMul_16s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height,
                                            Kiv16s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s** ppSrcMatrix, int height,
                                             Kiv16s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s32s_D2Sfs(const Kiv16s* pSrcVec, const Kiv16s* pSrcMatrix, int step, int height,
                                               Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_16s32s_D2LSfs(const Kiv16s* pSrcVec, const Kiv16s** ppSrcMatrix, int height,
                                                Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32s_D2Sfs(const Kiv32s* pSrcVec, const Kiv32s* pSrcMatrix, int step, int height,
                                            Kiv32s* pDst, int width, int scaleFactor);
KIVSR_API KivStatus kivsVecMatMul_32s_D2LSfs(const Kiv32s* pSrcVec, const Kiv32s** ppSrcMatrix, int height,
                                             Kiv32s* pDst, int width, int scaleFactor);
/** @} */

KIVSR_END_DECLS

#endif
