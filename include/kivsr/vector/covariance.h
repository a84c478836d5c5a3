/* Accumulation of covariance matrices. */
#ifndef KIVSR_VECTOR_COVARIANCE_H
#define KIVSR_VECTOR_COVARIANCE_H

#include "../types.h"

KIVSR_BEGIN_DECLS

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
