/* Column and row statistics of feature matrices. */
#ifndef KIVSR_VECTOR_STATISTICS_H
#define KIVSR_VECTOR_STATISTICS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup statistics Column and row statistics
 *
 * A block of feature vectors is a matrix x with a frame in each of its `height` rows and a feature in each of its
 * `width` columns: D2 functions take pSrc and a row step in elements, D2L functions an array of height row pointers.
 * Results by column are vectors of width elements, results by row vectors of height elements.
 *
 * Floating-point sums of columns are taken in row order in the precision of the result, every product and sum rounded
 * once: results have the same bits in both layouts, at every alignment and on every processor. Integer sums are exact;
 * a scale factor divides the result by 2^scaleFactor, rounded to nearest with ties to even and saturated.
 *
 * Sources and destinations must not overlap. "size" below is width < 1 or height < 1 (the least height where it is
 * given), "step" is step < width and applies to D2 functions only; nothing is written on an error but where said.
 * @{ */
/** @} */

/** @defgroup columnmean Mean of columns
 *
 * mean[j] = f * sum over r of x[r][j]. 32f: f is 1/height in double precision, rounded to single. 16s: the sum is
 * formed in single precision, f is 1/height divided in single precision, and the mean is rounded to nearest (ties to
 * even) and saturated; this form takes a work vector of width + 8 floats from the library allocator.
 *
 * Statuses in order: -37 step (also when a pointer is null), -8 a null pointer, -6 size, -9 no memory (16s).
 * @{ */
KIVSR_API KivStatus kivsMeanColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_16s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_16s_D2L(const Kiv16s** ppSrc, int height, Kiv16s* pDstMean, int width);
/** @} */

/** @defgroup columnvar Variance of columns about a given mean
 *
 * The unbiased estimate about pSrcMean = m, height at least 2.
 * 32f: (-height * m * m + sum over r of x[r][j]^2) * f, added in single precision in this order, f being 1/(height - 1)
 * in double precision, rounded to single.
 * 16s: (sum over r of x[r][j]^2 - height * m^2) / (height - 1) * 2^-scaleFactor; the difference is an exact integer,
 * the division is done in double precision, the result is rounded to nearest (ties to even) and saturated.
 *
 * Statuses in order: -37 step, -8 a null pointer, -6 width < 1 or height < 2.
 * @{ */
KIVSR_API KivStatus kivsVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, const Kiv32f* pSrcMean,
                                         Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsVarColumn_32f_D2L(const Kiv32f** ppSrc, int height, const Kiv32f* pSrcMean, Kiv32f* pDstVar,
                                          int width);
KIVSR_API KivStatus kivsVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, const Kiv16s* pSrcMean,
                                            Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsVarColumn_16s_D2LSfs(const Kiv16s** ppSrc, int height, const Kiv16s* pSrcMean, Kiv16s* pDstVar,
                                             int width, int scaleFactor);
/** @} */

/** @defgroup columnmeanvar Mean and variance of columns
 *
 * 32f: with S1 the sum of x[r][j] and S2 the sum of x[r][j]^2 in single precision, mean = S1 * f1 and
 * variance = (S2 - height * mean * mean) * f2, f1 and f2 being 1/height and 1/(height - 1) rounded to single. The order
 * of the terms is not that of kivsVarColumn, so the two may differ in the last bits. 16s: exact integer sums; mean = S1
 * * (1/height), variance = D * (1/(height - 1) * 2^-scaleFactor) with D the sum of squared deviations from the exact
 * mean, the factors in double precision formed once; both are rounded to nearest (ties to even) and saturated to their
 * types. The mean is not scaled, the variance is (16s16s32s: scale factor 0).
 *
 * Statuses in order: -8 a null pointer, -6 width < 1 or height < 2, -37 step.
 * @{ */
KIVSR_API KivStatus kivsMeanVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean,
                                             Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsMeanVarColumn_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pDstMean, Kiv32f* pDstVar,
                                              int width);
KIVSR_API KivStatus kivsMeanVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean,
                                                Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s_D2LSfs(const Kiv16s** ppSrc, int height, Kiv16s* pDstMean, Kiv16s* pDstVar,
                                                 int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv32s* pDstMean,
                                                   Kiv32s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s32s_D2LSfs(const Kiv16s** ppSrc, int height, Kiv32s* pDstMean, Kiv32s* pDstVar,
                                                    int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s16s32s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean,
                                                   Kiv32s* pDstVar, int width);
KIVSR_API KivStatus kivsMeanVarColumn_16s16s32s_D2L(const Kiv16s** ppSrc, int height, Kiv16s* pDstMean, Kiv32s* pDstVar,
                                                    int width);
/** @} */

/** @defgroup columnweighted Weighted moments of columns
 *
 * pWgt has a weight w[r] for each row. The sums are not divided by the sum of the weights: pass normalised weights.
 * mean[j] = sum over r of x[r][j] * w[r]; variance[j] = (sum over r of x[r][j] * w[r] * x[r][j]) - m[j]^2, with m the
 * mean passed in (WeightedVar) or the weighted mean just computed (WeightedMeanVar). In the precision of the data; rows
 * are added in pairs, sum += (row r + row r+1), the last of an odd number of rows by itself.
 *
 * Statuses in order: -8 a null pointer, -37 step, -6 size.
 * @{ */
KIVSR_API KivStatus kivsWeightedMeanColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                                  Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pWgt, int height,
                                                   Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                                 const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pWgt, int height,
                                                  const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                                     Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_32f_D2L(const Kiv32f** ppSrc, const Kiv32f* pWgt, int height,
                                                      Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                                  Kiv64f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pWgt, int height,
                                                   Kiv64f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                                 const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pWgt, int height,
                                                  const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                                     Kiv64f* pDstMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_64f_D2L(const Kiv64f** ppSrc, const Kiv64f* pWgt, int height,
                                                      Kiv64f* pDstMean, Kiv64f* pDstVar, int width);
/** @} */

/** @defgroup columnsum Sums of columns and rows
 *
 * SumColumn: dst[j] = sum over r of x[r][j]. SumRow: dst[r] = sum over j of x[r][j].
 * 32f, 64f: in the type of the data; 16s32f: in single precision. Column sums add in row order. Row sums add in lanes,
 * in an order that depends on the width alone: accuracy class reduction(width). 16s32s: exact, then times
 * 2^-scaleFactor.
 *
 * Statuses in order: -8 a null pointer, -6 size, -37 step.
 * @{ */
KIVSR_API KivStatus kivsSumColumn_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_64f_D2(const Kiv64f* pSrc, int step, int height, Kiv64f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_64f_D2L(const Kiv64f** ppSrc, int height, Kiv64f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32f_D2(const Kiv16s* pSrc, int step, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32f_D2L(const Kiv16s** ppSrc, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pDst, int width,
                                               int scaleFactor);
KIVSR_API KivStatus kivsSumColumn_16s32s_D2LSfs(const Kiv16s** ppSrc, int height, Kiv32s* pDst, int width,
                                                int scaleFactor);
KIVSR_API KivStatus kivsSumRow_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_32f_D2L(const Kiv32f** ppSrc, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_64f_D2(const Kiv64f* pSrc, int width, int step, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_64f_D2L(const Kiv64f** ppSrc, int width, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32f_D2(const Kiv16s* pSrc, int width, int step, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32f_D2L(const Kiv16s** ppSrc, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32s_D2Sfs(const Kiv16s* pSrc, int width, int step, Kiv32s* pDst, int height,
                                            int scaleFactor);
KIVSR_API KivStatus kivsSumRow_16s32s_D2LSfs(const Kiv16s** ppSrc, int width, Kiv32s* pDst, int height,
                                             int scaleFactor);
/** @} */

/** @defgroup summeanvar Sums for moments
 *
 * sum[j] = sum over r of x[r][j], sumSq[j] = sum over r of x[r][j]^2; the I forms add to the values already there, so
 * that blocks of an utterance can be accumulated one after the other. 32f, 16s32f: in single precision, in row order
 * from zero or from the old values. 16s32s: exact, then times 2^-scaleFactor. ISfs adds the scaled sums to the old
 * values; the result saturates.
 *
 * Statuses in order: -8 a null pointer, -6 size, -37 step.
 * @{ */
KIVSR_API KivStatus kivsSumMeanVar_32f(const Kiv32f* pSrc, int step, int height, Kiv32f* pDstSum, Kiv32f* pDstSumSq,
                                       int width);
KIVSR_API KivStatus kivsSumMeanVar_32f_I(const Kiv32f* pSrc, int step, int height, Kiv32f* pSrcDstSum,
                                         Kiv32f* pSrcDstSumSq, int width);
KIVSR_API KivStatus kivsSumMeanVar_16s32f(const Kiv16s* pSrc, int step, int height, Kiv32f* pDstSum, Kiv32f* pDstSumSq,
                                          int width);
KIVSR_API KivStatus kivsSumMeanVar_16s32f_I(const Kiv16s* pSrc, int step, int height, Kiv32f* pSrcDstSum,
                                            Kiv32f* pSrcDstSumSq, int width);
KIVSR_API KivStatus kivsSumMeanVar_16s32s_Sfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pDstSum,
                                              Kiv32s* pDstSumSq, int width, int scaleFactor);
KIVSR_API KivStatus kivsSumMeanVar_16s32s_ISfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pSrcDstSum,
                                               Kiv32s* pSrcDstSumSq, int width, int scaleFactor);
/** @} */

/** @defgroup addrows Sums of rows into a vector
 *
 * AddAllRowSum: dst[j] += x[r][j] for r = 0 .. height - 1, in this order, single precision.
 * Statuses in order: -8 a null pointer, -6 size, -37 step.
 *
 * AddNRows: dst[j] = sum over r < nRows of x[pIndx[r] + pAddIndx[r]][offset + j] for j < width, in the order of r,
 * single precision. count is the number of rows of the matrix. Statuses in order: -8 a null pointer; -6 nRows, count or
 * width < 1 or offset < 0; -37 step < offset + width; -6 a sum pIndx[r] + pAddIndx[r] outside 0 .. count - 1.
 * @{ */
KIVSR_API KivStatus kivsAddAllRowSum_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pSrcDst, int width);
KIVSR_API KivStatus kivsAddAllRowSum_32f_D2L(const Kiv32f** ppSrc, int height, Kiv32f* pSrcDst, int width);
KIVSR_API KivStatus kivsAddNRows_32f_D2(const Kiv32f* pSrc, int count, int offset, int step, const Kiv32s* pIndx,
                                        const Kiv32s* pAddIndx, int nRows, Kiv32f* pDst, int width);
/** @} */

/** @defgroup rowoperations Operations on every row
 *
 * SubRow: x[r][j] = x[r][j] - pSrc[j]; 16s saturates.
 * NormalizeColumn: x[r][j] = (x[r][j] - pMean[j]) * pFactor[j], pFactor typically the inverse standard deviation. 32f:
 * two roundings. 16s: the exact product times 2^-scaleFactor. In place on the matrix; the vectors must not be part of
 * it.
 *
 * Statuses in order: -8 a null pointer, -6 size, -37 step.
 * @{ */
KIVSR_API KivStatus kivsSubRow_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pSrcDst, int step, int height);
KIVSR_API KivStatus kivsSubRow_32f_D2L(const Kiv32f* pSrc, int width, Kiv32f** ppSrcDst, int height);
KIVSR_API KivStatus kivsSubRow_16s_D2(const Kiv16s* pSrc, int width, Kiv16s* pSrcDst, int step, int height);
KIVSR_API KivStatus kivsSubRow_16s_D2L(const Kiv16s* pSrc, int width, Kiv16s** ppSrcDst, int height);
KIVSR_API KivStatus kivsNormalizeColumn_32f_D2(Kiv32f* pSrcDst, int step, int height, const Kiv32f* pMean,
                                               const Kiv32f* pFactor, int width);
KIVSR_API KivStatus kivsNormalizeColumn_32f_D2L(Kiv32f** ppSrcDst, int height, const Kiv32f* pMean,
                                                const Kiv32f* pFactor, int width);
KIVSR_API KivStatus kivsNormalizeColumn_16s_D2Sfs(Kiv16s* pSrcDst, int step, int height, const Kiv16s* pMean,
                                                  const Kiv16s* pFactor, int width, int scaleFactor);
KIVSR_API KivStatus kivsNormalizeColumn_16s_D2LSfs(Kiv16s** ppSrcDst, int height, const Kiv16s* pMean,
                                                   const Kiv16s* pFactor, int width, int scaleFactor);
/** @} */

/** @defgroup copycolumn Copies of columns
 *
 * CopyColumn: dst[r][k] = src[r][firstColumn + k] for k < nColumns.
 * Statuses in order: -8 a null pointer; -6 width, nColumns or height < 1, or a column outside 0 .. width - 1;
 * -37 step < width or dstStep < nColumns.
 *
 * CopyColumn_Indirect: dst[r][k] = src[r][pIndx[k]] for k < dstWidth; reorders, selects or repeats features.
 * Statuses in order: -8 a null pointer; -6 srcWidth < 1; -37 srcStep < srcWidth; -6 dstWidth < 1; -37 dstStep <
 * dstWidth; -6 height < 1; -6 an index outside 0 .. srcWidth - 1. The indices are checked while row 0 is copied: the
 * elements of that row before the first bad index have then been written, on purpose, and nothing else.
 * @{ */
KIVSR_API KivStatus kivsCopyColumn_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int firstColumn,
                                          int nColumns, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_16s_D2(const Kiv16s* pSrc, int width, int step, Kiv16s* pDst, int firstColumn,
                                          int nColumns, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_32f_D2(const Kiv32f* pSrc, int srcWidth, int srcStep, Kiv32f* pDst,
                                                   const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_64f_D2(const Kiv64f* pSrc, int srcWidth, int srcStep, Kiv64f* pDst,
                                                   const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_16s_D2(const Kiv16s* pSrc, int srcWidth, int srcStep, Kiv16s* pDst,
                                                   const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_32f_D2L(const Kiv32f** ppSrc, int srcWidth, Kiv32f** ppDst,
                                                    const Kiv32s* pIndx, int dstWidth, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_64f_D2L(const Kiv64f** ppSrc, int srcWidth, Kiv64f** ppDst,
                                                    const Kiv32s* pIndx, int dstWidth, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_16s_D2L(const Kiv16s** ppSrc, int srcWidth, Kiv16s** ppDst,
                                                    const Kiv32s* pIndx, int dstWidth, int height);
/** @} */

KIVSR_END_DECLS

#endif
