/* Delta and acceleration coefficients. */
#ifndef KIVSR_FRONTEND_DELTA_H
#define KIVSR_FRONTEND_DELTA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup delta Delta and acceleration coefficients
 *
 * Time derivatives of feature vectors by regression over neighbouring frames. Matrices are D2: one row a frame, `step`
 * elements from row to row. Two ways: EvalDelta takes a matrix that is complete; the streaming functions append blocks
 * of frames to a matrix and complete the derivatives of earlier rows as soon as the frames that they need have arrived.
 *
 * No normalisation by the sum of squared weights is built in: the multipliers val carry it. Mul forms take one
 * multiplier for each column.
 *
 * Fixed point: data and multipliers of the 16s forms are 16-bit integers of any common unit. Sums and products are
 * exact, then multiplied by 2^-scaleFactor, rounded to nearest (ties to even) and saturated. The scale factor, any
 * int, acts on derivatives and on products with the multipliers of Mul forms, not on statics that are only copied.
 * Accelerations are computed from the deltas as they were stored.
 *
 * Accuracy: exact. The 32f forms evaluate the formulas in single precision in the order in which they are written here,
 * so that an utterance gives the same bits however it is cut into blocks.
 * @{ */

/** @name Of a complete matrix
 *
 * x[t][i] is column offset + i of row t, i < width; the result d[t][i] goes to column offset + width + i. With
 * W = winSize, summed over k = 1, 2, ... , W in this order:
 *
 *     d[t] = val * sum of k (x[t+k] - x[0])           for t < W
 *     d[t] = val * sum of k (x[t+k] - x[t-k])         for W <= t < height - W
 *     d[t] = val * sum of k (x[height-1] - x[t-k])    for t >= height - W
 *
 * In the first W rows row 0 stands for every past frame, also for those that exist, and in the last W rows the last row
 * for every future one. Mul forms: pVal[i] instead of val, width values.
 *
 * Statuses in order: -8 a null pointer; -6 height, width or winSize < 1, offset < 0 or height < 2 winSize; -37
 * step < offset + 2 width.
 * @{ */
KIVSR_API KivStatus kivsEvalDelta_32f_D2(Kiv32f* pSrcDst, int height, int step, int width, int offset, int winSize,
                                         Kiv32f val);
KIVSR_API KivStatus kivsEvalDeltaMul_32f_D2(Kiv32f* pSrcDst, int height, int step, const Kiv32f* pVal, int width,
                                            int offset, int winSize);
KIVSR_API KivStatus kivsEvalDelta_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, int width, int offset, int winSize,
                                            Kiv16s val, int scaleFactor);
KIVSR_API KivStatus kivsEvalDeltaMul_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, const Kiv16s* pVal, int width,
                                               int offset, int winSize, int scaleFactor);
/** @} */

/** @name Streaming, windows of three and five frames
 *
 * pSrc holds `height` new frames of `width` values without gaps. Row r of pDst becomes [static | delta] (Delta) or
 * [static | delta | acceleration] (DeltaDelta), each of `width` columns:
 *
 *     Win1    delta[t] = val (x[t+1] - x[t-1])
 *     Win2    delta[t] = val (x[t+1] - x[t-1] + e + e),    e = x[t+2] - x[t-2]
 *
 * and the acceleration is the same expression of the deltas, with valDD instead of valD.
 *
 * `mode` is a sum of flags. KIV_DELTA_BEGIN: the block starts an utterance; frame f goes to row f, and the first frame
 * (the first delta) stands for those before it. Without it, frame f goes to row H + f, and rows 0 .. H-1 hold the last
 * H rows of the call before: the caller moves them there. KIV_DELTA_END: the block ends the utterance; the last frame
 * (the last delta) stands for those behind it and every row is completed. A block of no frames with this flag alone
 * completes the rows that are pending; their statics stay as they are.
 *
 *                  Delta_Win1  Delta_Win2  DeltaDelta_Win1  DeltaDelta_Win2
 *     H                2           4              3                6
 *     pending rows     1           2              2                4        of a call without KIV_DELTA_END
 *
 * Mul forms: pVal holds 2 width (Delta) or 3 width (DeltaDelta) values. The statics are stored as x[i] pVal[i], the
 * derivatives are taken from these and multiplied by the values of their own columns.
 *
 * Columns beyond those of the row are not touched. pSrc and pDst must not overlap.
 *
 * Statuses in order: -8 a null pointer; -6 width < 1, height < 0, or height = 0 without KIV_DELTA_END; -37 dstStep
 * smaller than the columns of a row; -6 KIV_DELTA_BEGIN with fewer than H frames.
 * @{ */
KIVSR_API KivStatus kivsDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                          Kiv32f val, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                               Kiv32f valD, Kiv32f valDD, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                             int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                                  int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                          Kiv32f val, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                               Kiv32f valD, Kiv32f valDD, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                             int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                                  int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                             Kiv16s val, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                                  Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                     int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                             Kiv16s val, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                                  Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                     int dstStep, int height, int mode, int scaleFactor);
/** @} */

/** @name Streaming, window of nine frames
 *
 * The derivatives of the ETSI advanced front end. A frame of pSrc has 14 values c1 .. c12, c0, log energy; a row of
 * pDst 39 columns: 13 statics, their deltas, their accelerations. The statics are c1 .. c12 and, in column 12,
 * (c0 * 0.6) / 23 + log energy * 0.4 (the 16-bit form rounds this once). Summed from the left:
 *
 *     delta[t] = - x[t-4] - 0.75 x[t-3] - 0.5 x[t-2] - 0.25 x[t-1] + 0 x[t]
 *                + 0.25 x[t+1] + 0.5 x[t+2] + 0.75 x[t+3] + x[t+4]
 *     acceleration[t] = x[t-4] + 0.25 x[t-3] - 0.285714 x[t-2] - 0.607143 x[t-1] - 0.714286 x[t]
 *                       - 0.607143 x[t+1] - 0.285714 x[t+2] + 0.25 x[t+3] + x[t+4]
 *
 * with x the statics. The weights are these decimals and not the fractions 2/7, 17/28 and 5/7, so that the acceleration
 * of a constant is zero only up to rounding. Blocks, flags and history work as above with H = 8 and 4 pending rows.
 * Mul: pVal holds 39 values that multiply statics, deltas and accelerations; the derivatives are taken from the
 * multiplied statics.
 *
 * Source: ETSI ES 202 050.
 *
 * Statuses in order: -8 a null pointer; -6 height < 0, or height = 0 without KIV_DELTA_END; -37 dstStep < 39; -6
 * KIV_DELTA_BEGIN with fewer than 8 frames.
 * @{ */
KIVSR_API KivStatus kivsDeltaDelta_Aurora_32f_D2(const Kiv32f* pSrc, Kiv32f* pDst, int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDeltaMul_Aurora_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, Kiv32f* pDst, int dstStep,
                                                    int height, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Aurora_16s_D2Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int dstStep, int height, int mode,
                                                    int scaleFactor);
KIVSR_API KivStatus kivsDeltaDeltaMul_Aurora_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, Kiv16s* pDst,
                                                       int dstStep, int height, int mode, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
