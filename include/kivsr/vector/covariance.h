/* Accumulation of covariance matrices. */
#ifndef KIVSR_VECTOR_COVARIANCE_H
#define KIVSR_VECTOR_COVARIANCE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup covariance Accumulation of a covariance matrix
 *
 * For a block x of height feature vectors of width elements and their mean m, adds to the symmetric matrix S
 * (width x width, in double precision):
 *
 *     S[i][j] = factor * (sum over r of (x[r][i] - m[j]) * (x[r][j] - m[j])) + S[i][j],   S[j][i] = S[i][j],   i <= j
 *
 * Both factors are taken about the mean of the LATER column j, off the diagonal too: with m the mean of x itself the
 * sum is the usual one, as the deviations of column j then add up to zero. What stood below the diagonal is
 * overwritten, not added to. Blocks of an utterance can be accumulated one after the other about a common mean.
 *
 * Accuracy: data and mean are converted to double exactly; the sum is taken in row order, each difference, product and
 * sum rounded once, so the bits do not depend on layout, alignment, size or processor.
 *
 * @code{.c}
 * const Kiv32f frames[4 * 2] = {1, 10, 3, 14, 5, 18, 7, 22};  // four rows of two features
 * const Kiv32f mean[2] = {4, 16};
 * Kiv64f covariance[2 * 2] = {0, 0, 0, 0};
 * assert(kivsAccCovarianceMatrix_32f64f_D2(frames, 2, 4, mean, covariance, 2, 2, 1.0 / 4) == kivStatusOk);
 * assert(covariance[0] == 5 && covariance[3] == 20);
 * assert(covariance[1] == 10 && covariance[2] == 10);
 * @endcode
 * @{ */

/** @name Accumulation
 * @param[in] pSrc,ppSrc x: its first row, or height row pointers
 * @param[in] srcStep elements from one row of x to the next (D2)
 * @param[in] height number of feature vectors
 * @param[in] pMean m, width elements
 * @param[in,out] pSrcDst,ppSrcDst S: its first row, or width row pointers; must not overlap a source
 * @param[in] width number of features
 * @param[in] dstStep elements from one row of S to the next (D2)
 * @param[in] factor of the sum, such as the reciprocal of the number of all feature vectors
 * @return kivStatusNullPointer; kivStatusBadSize: height or width < 1; kivStatusBadStep: srcStep or dstStep < width
 * @{ */
KIVSR_API KivStatus kivsAccCovarianceMatrix_32f64f_D2(const Kiv32f* pSrc, int srcStep, int height, const Kiv32f* pMean,
                                                      Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_32f64f_D2L(const Kiv32f* const* ppSrc, int height, const Kiv32f* pMean,
                                                       Kiv64f** ppSrcDst, int width, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_16s64f_D2(const Kiv16s* pSrc, int srcStep, int height, const Kiv16s* pMean,
                                                      Kiv64f* pSrcDst, int width, int dstStep, Kiv64f factor);
KIVSR_API KivStatus kivsAccCovarianceMatrix_16s64f_D2L(const Kiv16s* const* ppSrc, int height, const Kiv16s* pMean,
                                                       Kiv64f** ppSrcDst, int width, Kiv64f factor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
