/* Column and row statistics of feature matrices. */
#ifndef KIVSR_VECTOR_STATISTICS_H
#define KIVSR_VECTOR_STATISTICS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup statistics Column and row statistics
 *
 * A block of feature vectors is a matrix x with a frame in each of its height rows and a feature in each of its width
 * columns: D2 functions take its first row pSrc and a step in elements from one row to the next, D2L functions an array
 * ppSrc of height row pointers. Both layouts give the same bits.
 *
 * | operation                                     | 32f | 64f | 16s | 16s32f | 16s32s | D2  | D2L | 16s scaled |
 * |-----------------------------------------------|-----|-----|-----|--------|--------|-----|-----|------------|
 * | MeanColumn                                    | yes |     | yes |        |        | yes | yes |            |
 * | VarColumn                                     | yes |     | yes |        |        | yes | yes | yes        |
 * | MeanVarColumn (also 16s16s32s)                | yes |     | yes |        | yes    | yes | yes | yes        |
 * | WeightedMeanColumn, ...Var..., ...MeanVar...  | yes | yes |     |        |        | yes | yes |            |
 * | SumColumn, SumRow                             | yes | yes |     | yes    | yes    | yes | yes | yes        |
 * | SumMeanVar (also I)                           | yes |     |     | yes    | yes    | yes |     | yes        |
 * | AddAllRowSum                                  | yes |     |     |        |        | yes | yes |            |
 * | AddNRows                                      | yes |     |     |        |        | yes |     |            |
 * | SubRow                                        | yes |     | yes |        |        | yes | yes |            |
 * | NormalizeColumn                               | yes |     | yes |        |        | yes | yes | yes        |
 * | CopyColumn                                    | yes |     | yes |        |        | yes |     |            |
 * | CopyColumn_Indirect                           | yes | yes | yes |        |        | yes | yes |            |
 *
 * Floating-point sums of columns are taken in row order in the precision of the result, every product and sum rounded
 * once: the same bits at every alignment and on every processor. Integer sums are exact; a scaleFactor, any int,
 * divides the result by 2^scaleFactor, rounded to nearest with ties to even and saturated.
 *
 * Sources and destinations must not overlap. On an error nothing is written, but where said.
 *
 * @code{.c}
 * Kiv32f x[3 * 2] = {1, 10, 2, 30, 3, 20};  // three frames of two features, to mean 0 and variance 1
 * Kiv32f mean[2], variance[2], factor[2], sum[2];
 * assert(kivsMeanVarColumn_32f_D2(x, 3, 2, mean, variance, 2) == kivStatusOk);
 * assert(mean[0] == 2 && mean[1] == 20 && variance[0] == 1 && variance[1] == 100);
 * factor[0] = (Kiv32f)(1 / sqrt(variance[0]));
 * factor[1] = (Kiv32f)(1 / sqrt(variance[1]));
 * assert(kivsNormalizeColumn_32f_D2(x, 2, 3, mean, factor, 2) == kivStatusOk);
 * assert(kivsSumColumn_32f_D2(x, 2, 3, sum, 2) == kivStatusOk);
 * assert(fabs(sum[0]) < 1e-6 && fabs(sum[1]) < 1e-6 && fabs(x[3] - 1) < 1e-6);
 * @endcode
 * @{ */

/** @name Mean of columns
 * mean[j] = f * sum over r of x[r][j]. 32f: f is 1/height in double precision, rounded to single. 16s: the sum is
 * formed in single precision, f is 1/height divided in single precision, and the mean is rounded to nearest (ties to
 * even) and saturated; this form takes a work vector of width + 8 floats from the allocator.
 *
 * @param[in] pSrc,ppSrc x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] width number of columns
 * @param[out] pDstMean width means
 * @return kivStatusBadStep: step < width, also where a pointer is null; kivStatusNullPointer; kivStatusBadSize: width
 * or height < 1; kivStatusNoMemory (16s)
 * @{ */
KIVSR_API KivStatus kivsMeanColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_16s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean, int width);
KIVSR_API KivStatus kivsMeanColumn_16s_D2L(const Kiv16s* const* ppSrc, int height, Kiv16s* pDstMean, int width);
/** @} */

/** @name Variance of columns about a given mean
 * The unbiased estimate about m = pSrcMean.
 * 32f: (-height * m * m + sum over r of x[r][j]^2) * f, added in single precision in this order, f being 1/(height - 1)
 * in double precision, rounded to single.
 * 16s: (sum over r of x[r][j]^2 - height * m^2) / (height - 1) * 2^-scaleFactor; the difference is an exact integer,
 * the division is done in double precision, the result is rounded to nearest (ties to even) and saturated.
 *
 * @param[in] pSrc,ppSrc x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] width number of columns
 * @param[in] pSrcMean m, width means
 * @param[out] pDstVar width variances
 * @param[in] scaleFactor of the variances
 * @return kivStatusBadStep: step < width, also where a pointer is null; kivStatusNullPointer; kivStatusBadSize: width <
 * 1 or height < 2
 * @{ */
KIVSR_API KivStatus kivsVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, const Kiv32f* pSrcMean,
                                         Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsVarColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, const Kiv32f* pSrcMean,
                                          Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, const Kiv16s* pSrcMean,
                                            Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsVarColumn_16s_D2LSfs(const Kiv16s* const* ppSrc, int height, const Kiv16s* pSrcMean,
                                             Kiv16s* pDstVar, int width, int scaleFactor);
/** @} */

/** @name Mean and variance of columns
 * 32f: with S1 the sum of x[r][j] and S2 the sum of x[r][j]^2 in single precision, mean = S1 * f1 and
 * variance = (S2 - height * mean * mean) * f2, f1 and f2 being 1/height and 1/(height - 1) rounded to single. The order
 * of the terms is not that of kivsVarColumn, so the two may differ in the last bits.
 * 16s: exact integer sums; mean = S1 * (1/height), variance = D * (1/(height - 1) * 2^-scaleFactor) with D the sum of
 * squared deviations from the exact mean, the factors in double precision formed once; both are rounded to nearest
 * (ties to even) and saturated to their types. The mean is not scaled, the variance is (16s16s32s: scale factor 0).
 *
 * @param[in] pSrc,ppSrc x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] width number of columns
 * @param[out] pDstMean width means
 * @param[out] pDstVar width variances
 * @param[in] scaleFactor of the variances
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1 or height < 2; kivStatusBadStep: step < width
 * @{ */
KIVSR_API KivStatus kivsMeanVarColumn_32f_D2(const Kiv32f* pSrc, int height, int step, Kiv32f* pDstMean,
                                             Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsMeanVarColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pDstMean, Kiv32f* pDstVar,
                                              int width);
KIVSR_API KivStatus kivsMeanVarColumn_16s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean,
                                                Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s_D2LSfs(const Kiv16s* const* ppSrc, int height, Kiv16s* pDstMean,
                                                 Kiv16s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int height, int step, Kiv32s* pDstMean,
                                                   Kiv32s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s32s_D2LSfs(const Kiv16s* const* ppSrc, int height, Kiv32s* pDstMean,
                                                    Kiv32s* pDstVar, int width, int scaleFactor);
KIVSR_API KivStatus kivsMeanVarColumn_16s16s32s_D2(const Kiv16s* pSrc, int height, int step, Kiv16s* pDstMean,
                                                   Kiv32s* pDstVar, int width);
KIVSR_API KivStatus kivsMeanVarColumn_16s16s32s_D2L(const Kiv16s* const* ppSrc, int height, Kiv16s* pDstMean,
                                                    Kiv32s* pDstVar, int width);
/** @} */

/** @name Weighted moments of columns
 * mean[j] = sum over r of x[r][j] * w[r]; variance[j] = (sum over r of x[r][j] * w[r] * x[r][j]) - m[j]^2, with m the
 * mean passed in (WeightedVar) or the weighted mean just computed (WeightedMeanVar). The sums are not divided by the
 * sum of the weights: pass normalised weights. In the precision of the data; rows are added in pairs, sum += (row r +
 * row r+1), the last of an odd number of rows by itself.
 *
 * @param[in] pSrc,ppSrc x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] width number of columns
 * @param[in] pWgt w, height weights
 * @param[in] pSrcMean m, width means
 * @param[out] pDstMean width means
 * @param[out] pDstVar width variances
 * @return kivStatusNullPointer; kivStatusBadStep: step < width; kivStatusBadSize: width or height < 1
 * @{ */
KIVSR_API KivStatus kivsWeightedMeanColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                                  Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pWgt, int height,
                                                   Kiv32f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                                 const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pWgt, int height,
                                                  const Kiv32f* pSrcMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_32f_D2(const Kiv32f* pSrc, int step, const Kiv32f* pWgt, int height,
                                                     Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_32f_D2L(const Kiv32f* const* ppSrc, const Kiv32f* pWgt, int height,
                                                      Kiv32f* pDstMean, Kiv32f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                                  Kiv64f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedMeanColumn_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pWgt, int height,
                                                   Kiv64f* pDstMean, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                                 const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedVarColumn_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pWgt, int height,
                                                  const Kiv64f* pSrcMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_64f_D2(const Kiv64f* pSrc, int step, const Kiv64f* pWgt, int height,
                                                     Kiv64f* pDstMean, Kiv64f* pDstVar, int width);
KIVSR_API KivStatus kivsWeightedMeanVarColumn_64f_D2L(const Kiv64f* const* ppSrc, const Kiv64f* pWgt, int height,
                                                      Kiv64f* pDstMean, Kiv64f* pDstVar, int width);
/** @} */

/** @name Sums of columns and rows
 * SumColumn: dst[j] = sum over r of x[r][j]. SumRow: dst[r] = sum over j of x[r][j].
 * 32f, 64f: in the type of the data; 16s32f: in single precision. Column sums add in row order. Row sums add in lanes,
 * in an order that depends on the width alone: accuracy class reduction(width). 16s32s: exact, then times
 * 2^-scaleFactor.
 *
 * @param[in] pSrc,ppSrc x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] width number of columns
 * @param[out] pDst width sums (SumColumn), height sums (SumRow)
 * @param[in] scaleFactor of the sums
 * @return kivStatusNullPointer; kivStatusBadSize: width or height < 1; kivStatusBadStep: step < width
 * @{ */
KIVSR_API KivStatus kivsSumColumn_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_64f_D2(const Kiv64f* pSrc, int step, int height, Kiv64f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_64f_D2L(const Kiv64f* const* ppSrc, int height, Kiv64f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32f_D2(const Kiv16s* pSrc, int step, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32f_D2L(const Kiv16s* const* ppSrc, int height, Kiv32f* pDst, int width);
KIVSR_API KivStatus kivsSumColumn_16s32s_D2Sfs(const Kiv16s* pSrc, int step, int height, Kiv32s* pDst, int width,
                                               int scaleFactor);
KIVSR_API KivStatus kivsSumColumn_16s32s_D2LSfs(const Kiv16s* const* ppSrc, int height, Kiv32s* pDst, int width,
                                                int scaleFactor);
KIVSR_API KivStatus kivsSumRow_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_32f_D2L(const Kiv32f* const* ppSrc, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_64f_D2(const Kiv64f* pSrc, int width, int step, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_64f_D2L(const Kiv64f* const* ppSrc, int width, Kiv64f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32f_D2(const Kiv16s* pSrc, int width, int step, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32f_D2L(const Kiv16s* const* ppSrc, int width, Kiv32f* pDst, int height);
KIVSR_API KivStatus kivsSumRow_16s32s_D2Sfs(const Kiv16s* pSrc, int width, int step, Kiv32s* pDst, int height,
                                            int scaleFactor);
KIVSR_API KivStatus kivsSumRow_16s32s_D2LSfs(const Kiv16s* const* ppSrc, int width, Kiv32s* pDst, int height,
                                             int scaleFactor);
/** @} */

/** @name Sums for moments
 * sum[j] = sum over r of x[r][j], sumSq[j] = sum over r of x[r][j]^2; the I forms add to the values already there, so
 * that blocks of an utterance can be accumulated one after the other. 32f, 16s32f: in single precision, in row order
 * from zero or from the old values. 16s32s: exact, then times 2^-scaleFactor. ISfs adds the scaled sums to the old
 * values; the result saturates.
 *
 * @param[in] pSrc x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] width number of columns
 * @param[out] pDstSum,pDstSumSq width sums, width sums of squares
 * @param[in,out] pSrcDstSum,pSrcDstSumSq the same with their old values
 * @param[in] scaleFactor of both sums
 * @return kivStatusNullPointer; kivStatusBadSize: width or height < 1; kivStatusBadStep: step < width
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

/** @name Sums of rows into a vector
 * @{ */
/** dst[j] += x[r][j] for r = 0 .. height - 1, in this order, single precision.
 * @param[in] pSrc,ppSrc x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] width number of columns
 * @param[in,out] pSrcDst width sums
 * @return kivStatusNullPointer; kivStatusBadSize: width or height < 1; kivStatusBadStep: step < width */
KIVSR_API KivStatus kivsAddAllRowSum_32f_D2(const Kiv32f* pSrc, int step, int height, Kiv32f* pSrcDst, int width);
/** As kivsAddAllRowSum_32f_D2, by row pointers.
 * @param[in] ppSrc x
 * @param[in] height number of rows
 * @param[in,out] pSrcDst width sums
 * @param[in] width number of columns
 * @return as kivsAddAllRowSum_32f_D2 */
KIVSR_API KivStatus kivsAddAllRowSum_32f_D2L(const Kiv32f* const* ppSrc, int height, Kiv32f* pSrcDst, int width);
/** dst[j] = sum over r < nRows of x[pIndx[r] + pAddIndx[r]][offset + j], in the order of r, single precision.
 * @param[in] pSrc x
 * @param[in] count number of rows of x
 * @param[in] offset the first column
 * @param[in] step elements from one row to the next
 * @param[in] pIndx,pAddIndx nRows summands of row numbers
 * @param[in] nRows number of rows to add
 * @param[out] pDst width sums
 * @param[in] width number of columns to add
 * @return kivStatusNullPointer; kivStatusBadSize: nRows, count or width < 1 or offset < 0; kivStatusBadStep: step <
 * offset + width; kivStatusBadSize: a row number outside 0 .. count - 1 */
KIVSR_API KivStatus kivsAddNRows_32f_D2(const Kiv32f* pSrc, int count, int offset, int step, const Kiv32s* pIndx,
                                        const Kiv32s* pAddIndx, int nRows, Kiv32f* pDst, int width);
/** @} */

/** @name Operations on every row
 * In place. SubRow: x[r][j] = x[r][j] - pSrc[j]; 16s saturates.
 * NormalizeColumn: x[r][j] = (x[r][j] - pMean[j]) * pFactor[j], the factor typically the inverse standard deviation.
 * 32f: two roundings. 16s: the exact product times 2^-scaleFactor. The vectors must not be part of the matrix.
 *
 * @param[in] pSrc width elements to subtract
 * @param[in] pMean,pFactor width elements each
 * @param[in] width number of columns
 * @param[in,out] pSrcDst,ppSrcDst x
 * @param[in] step elements from one row to the next (D2)
 * @param[in] height number of rows
 * @param[in] scaleFactor of the products
 * @return kivStatusNullPointer; kivStatusBadSize: width or height < 1; kivStatusBadStep: step < width
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

/** @name Copies of adjacent columns
 * dst[r][k] = src[r][firstColumn + k] for k < nColumns.
 * @param[in] pSrc matrix of height rows
 * @param[in] width its number of columns
 * @param[in] step elements from one of its rows to the next
 * @param[out] pDst matrix of height rows of nColumns elements
 * @param[in] firstColumn first column to copy
 * @param[in] nColumns number of columns to copy
 * @param[in] dstStep elements from one row of pDst to the next
 * @param[in] height number of rows
 * @return kivStatusNullPointer; kivStatusBadSize: width, nColumns or height < 1, or a column outside 0 .. width - 1;
 * kivStatusBadStep: step < width or dstStep < nColumns
 * @{ */
KIVSR_API KivStatus kivsCopyColumn_32f_D2(const Kiv32f* pSrc, int width, int step, Kiv32f* pDst, int firstColumn,
                                          int nColumns, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_16s_D2(const Kiv16s* pSrc, int width, int step, Kiv16s* pDst, int firstColumn,
                                          int nColumns, int dstStep, int height);
/** @} */

/** @name Copies of columns by index
 * dst[r][k] = src[r][pIndx[k]] for k < dstWidth; reorders, selects or repeats features.
 * @param[in] pSrc,ppSrc matrix of height rows
 * @param[in] srcWidth its number of columns
 * @param[in] srcStep elements from one of its rows to the next (D2)
 * @param[out] pDst,ppDst matrix of height rows of dstWidth elements
 * @param[in] pIndx dstWidth column numbers
 * @param[in] dstWidth number of columns to copy
 * @param[in] dstStep elements from one row of pDst to the next (D2)
 * @param[in] height number of rows
 * @return kivStatusNullPointer; kivStatusBadSize: srcWidth < 1; kivStatusBadStep: srcStep < srcWidth; kivStatusBadSize:
 * dstWidth < 1; kivStatusBadStep: dstStep < dstWidth; kivStatusBadSize: height < 1; kivStatusBadSize: an index outside
 * 0 .. srcWidth - 1. The indices are checked while row 0 is copied: the elements of that row before the first bad index
 * have then been written, on purpose, and nothing else
 * @{ */
KIVSR_API KivStatus kivsCopyColumn_Indirect_32f_D2(const Kiv32f* pSrc, int srcWidth, int srcStep, Kiv32f* pDst,
                                                   const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_64f_D2(const Kiv64f* pSrc, int srcWidth, int srcStep, Kiv64f* pDst,
                                                   const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_16s_D2(const Kiv16s* pSrc, int srcWidth, int srcStep, Kiv16s* pDst,
                                                   const Kiv32s* pIndx, int dstWidth, int dstStep, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_32f_D2L(const Kiv32f* const* ppSrc, int srcWidth, Kiv32f** ppDst,
                                                    const Kiv32s* pIndx, int dstWidth, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_64f_D2L(const Kiv64f* const* ppSrc, int srcWidth, Kiv64f** ppDst,
                                                    const Kiv32s* pIndx, int dstWidth, int height);
KIVSR_API KivStatus kivsCopyColumn_Indirect_16s_D2L(const Kiv16s* const* ppSrc, int srcWidth, Kiv16s** ppDst,
                                                    const Kiv32s* pIndx, int dstWidth, int height);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
