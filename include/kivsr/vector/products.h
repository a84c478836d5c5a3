/* Matrix-vector products and covariance accumulation. */
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

/** @defgroup covariance Accumulation of a covariance matrix
 *
 * For a block x of height feature vectors of width elements and their mean m, adds to the symmetric matrix S = pSrcDst
 * (width x width, in double precision):
 *
 *   S[i][j] = factor * (sum over r of (x[r][i] - m[j]) * (x[r][j] - m[j])) + S[i][j],  S[j][i] = S[i][j],  for i <= j.
 *
 * Both factors are taken about the mean of the LATER column j, off the diagonal too. What stood below the diagonal is
 * overwritten, not added to. Data and mean are converted to double exactly; the sum is taken in row order, each
 * difference, product and sum rounded once, so the bits do not depend on layout, alignment, size or processor.
 *
 * Statuses in order: -8 a null pointer, -6 height < 1 or width < 1, -37 srcStep < width or dstStep < width (D2).
 * @{ */
KIVSR_API KivStatus kivsAccCovarianceMatrix_32f64f_D2(const Kiv32f* pSrc, int srcStep, int height, const Kiv32f* pMean,
                                                      Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_32f64f_D2L(const Kiv32f** ppSrc, int height, const Kiv32f* pMean,
                                                       Kiv64f** ppSrcDst, int width, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_16s64f_D2(const Kiv16s* pSrc, int srcStep, int height, const Kiv16s* pMean,
                                                      Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_16s64f_D2L(const Kiv16s** ppSrc, int height, const Kiv16s* pMean,
                                                       Kiv64f** ppSrcDst, int width, Kiv64f factor);
/** @} */

KIVSR_END_DECLS

#endif
