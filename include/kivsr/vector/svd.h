/* Singular value decomposition. */
#ifndef KIVSR_VECTOR_SVD_H
#define KIVSR_VECTOR_SVD_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup svd Singular value decomposition
 *
 *     A = U diag(s) V^T,   U^T U = V^T V = I,   s >= 0
 *
 * of a matrix A of height x width with height >= width; U is height x width, V is width x width. Of a covariance matrix
 * it gives the eigenvalues s and the eigenvectors, columns of V: principal components, whitening, discriminant
 * analysis. The element of largest magnitude of each column of V, the first one of several, is positive.
 *
 * QR with column pivoting, QR of its transposed factor and one-sided Jacobi rotations (Z. Drmac, K. Veselic, SIAM J.
 * Matrix Anal. Appl. 29(4), 2008). nIter bounds the sweeps of rotations, the last of which finds nothing left to do;
 * 30 always suffice, 5 to 9 are usual.
 *
 * Accuracy: with n = width and e = 2^-52, |A - U diag(s) V^T| <= 4 sqrt(n) e |A|, and U^T U and V^T V differ from I by
 * at most (2 n + 4) e (Frobenius norms). Small singular values are as accurate as large ones where the columns of A
 * merely differ in scale: if A = B D with D diagonal, each value is right to n cond(B) e, whatever D is. Elements are
 * scaled by a power of two first, so that magnitudes from 1e-300 to 1e300 neither overflow nor vanish; values below
 * 1e-290 of the largest one are zero. A singular value of zero has its columns of U and V as the others do.
 *
 * Memory: up to 40 columns on the stack, else 2 width^2 numbers and some rows from the library allocator.
 *
 * @code{.c}
 * const Kiv64f a[3 * 2] = {3, 1, 0, 5, 4, 1};
 * Kiv64f u[3 * 2], s[2], v[2 * 2];
 * int r, c;
 * assert(kivsSVDSort_64f_D2(a, 2, u, 2, s, v, 2, 2, 3, 30) == kivStatusOk);
 * assert(s[0] > s[1] && fabs(s[0] * s[0] + s[1] * s[1] - 52) < 1e-13);  // the sum of the squares of A
 * for (r = 0; r < 3; ++r) {
 *   for (c = 0; c < 2; ++c) {
 *     const Kiv64f product = u[2 * r] * s[0] * v[2 * c] + u[2 * r + 1] * s[1] * v[2 * c + 1];
 *     assert(fabs(product - a[2 * r + c]) < 1e-14);
 *   }
 * }
 * @endcode
 * @{ */

/** @name Decomposition
 * @{ */
/** Singular value decomposition. kivsSVDSort gives the values from the largest to the smallest; kivsSVD in the order in
 * which they were found, which is left open.
 * @param[in] pSrc,ppSrc A: its first row, or height row pointers
 * @param[in] srcStep,step elements from one row of A to the next (D2)
 * @param[in,out] pSrcDst,ppSrcDst A, which becomes U
 * @param[out] pDstU,ppDstU U: its first row, or height row pointers; must not overlap A
 * @param[in] dstStepU elements from one row of U to the next (D2)
 * @param[out] pDstS s, width elements
 * @param[out] pDstV,ppDstV V: its first row, or width row pointers
 * @param[in] dstStepV elements from one row of V to the next (D2)
 * @param[in] width columns of A
 * @param[in] height rows of A
 * @param[in] nIter most sweeps of rotations
 * @return kivStatusNullPointer; kivStatusBadSize: width, height or nIter < 1, or height < width; kivStatusBadStep: a
 * step < width; kivStatusOutOfRange: an element that is not finite; kivStatusNoMemory; kivStatusNoConvergence: nIter
 * sweeps did not suffice, and the outputs hold the last state, for which A = U diag(s) V^T is true while V^T V = I is
 * not */
KIVSR_API KivStatus kivsSVD_64f_D2(const Kiv64f* pSrc, int srcStep, Kiv64f* pDstU, int dstStepU, Kiv64f* pDstS,
                                   Kiv64f* pDstV, int dstStepV, int width, int height, int nIter);
KIVSR_API KivStatus kivsSVD_64f_D2L(const Kiv64f* const* ppSrc, Kiv64f** ppDstU, Kiv64f* pDstS, Kiv64f** ppDstV,
                                    int width, int height, int nIter);
KIVSR_API KivStatus kivsSVD_64f_D2_I(Kiv64f* pSrcDst, int step, Kiv64f* pDstS, Kiv64f* pDstV, int dstStepV, int width,
                                     int height, int nIter);
KIVSR_API KivStatus kivsSVD_64f_D2L_I(Kiv64f** ppSrcDst, Kiv64f* pDstS, Kiv64f** ppDstV, int width, int height,
                                      int nIter);
KIVSR_API KivStatus kivsSVDSort_64f_D2(const Kiv64f* pSrc, int srcStep, Kiv64f* pDstU, int dstStepU, Kiv64f* pDstS,
                                       Kiv64f* pDstV, int dstStepV, int width, int height, int nIter);
KIVSR_API KivStatus kivsSVDSort_64f_D2L(const Kiv64f* const* ppSrc, Kiv64f** ppDstU, Kiv64f* pDstS, Kiv64f** ppDstV,
                                        int width, int height, int nIter);
KIVSR_API KivStatus kivsSVDSort_64f_D2_I(Kiv64f* pSrcDst, int step, Kiv64f* pDstS, Kiv64f* pDstV, int dstStepV,
                                         int width, int height, int nIter);
KIVSR_API KivStatus kivsSVDSort_64f_D2L_I(Kiv64f** ppSrcDst, Kiv64f* pDstS, Kiv64f** ppDstV, int width, int height,
                                          int nIter);
/** @} */

/** @name Rotation of columns
 * Of each row the elements a and b in two columns become c a + s b and c b - s a.
 * @param[in,out] ppSrcDst height row pointers
 * @param[in] column1 the column of a
 * @param[in] column2 the column of b
 * @param[in] height number of rows
 * @param[in] c cosine
 * @param[in] s sine
 * @return kivStatusNullPointer; kivStatusBadSize: height < 1; kivStatusBadArgument: a column < 0, or twice the same one
 * @{ */
KIVSR_API KivStatus kivsQRTransColumn_64f_D2L(Kiv64f** ppSrcDst, int column1, int column2, int height, Kiv64f c,
                                              Kiv64f s);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
