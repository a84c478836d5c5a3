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
 * They treat the ends of an utterance differently.
 *
 * | window    | weights, frames t-W .. t+W | usual multiplier   | stand for missing frames                            |
 * |-----------|----------------------------|--------------------|-----------------------------------------------------|
 * | EvalDelta | -W ... -1 0 1 ... W        | 1 / (2 sum of k^2) | the first (last) row, for ALL frames on that side   |
 * | Win1      | -1 0 1                     | 1/2                | the first (last) frame                              |
 * | Win2      | -2 -1 0 1 2                | 1/10               | the first (last) frame                              |
 * | Aurora    | nine, below                | 1                  | the first (last) frame                              |
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
 *
 * @code{.c}
 * // Three frames of two values, then the rest of the utterance; rows of [static | delta].
 * const Kiv32f frames[5][2] = {{0, 5}, {1, 5}, {2, 5}, {3, 5}, {4, 5}};
 * Kiv32f rows[8][4];
 * int i;
 * assert(kivsDelta_Win1_32f_D2(frames[0], 2, rows[0], 4, 3, 0.5F, KIV_DELTA_BEGIN) == kivStatusOk);
 * assert(rows[0][2] == 0.5F && rows[1][2] == 1.0F && rows[1][3] == 0.0F);  // row 2 waits for the next frame
 * for (i = 0; i < 4; ++i) rows[0][i] = rows[1][i], rows[1][i] = rows[2][i];  // the last H = 2 rows to the top
 * assert(kivsDelta_Win1_32f_D2(frames[3], 2, rows[0], 4, 2, 0.5F, KIV_DELTA_END) == kivStatusOk);
 * assert(rows[1][2] == 1.0F && rows[2][0] == 3.0F && rows[3][2] == 0.5F);
 * @endcode
 * @{ */

/** @defgroup delta_matrix Deltas of a complete matrix
 *
 * x[t][i] is column offset + i of row t, i < width; the result d[t][i] goes to column offset + width + i. With
 * W = winSize, summed over k = 1, 2, ... , W in this order:
 *
 *     d[t] = val * sum of k (x[t+k] - x[0])           for t < W
 *     d[t] = val * sum of k (x[t+k] - x[t-k])         for W <= t < height - W
 *     d[t] = val * sum of k (x[height-1] - x[t-k])    for t >= height - W
 * @{ */
/** One multiplier for all columns.
 * @param[in,out] pSrcDst height rows
 * @param[in] height number of rows, at least 2 winSize
 * @param[in] step elements from one row to the next, at least offset + 2 width
 * @param[in] width number of columns
 * @param[in] offset first column of the source
 * @param[in] winSize W, frames on each side
 * @param[in] val the multiplier
 * @return kivStatusNullPointer; kivStatusBadSize: height, width or winSize < 1, offset < 0 or height < 2 winSize;
 * kivStatusBadStep */
KIVSR_API KivStatus kivsEvalDelta_32f_D2(Kiv32f* pSrcDst, int height, int step, int width, int offset, int winSize,
                                         Kiv32f val);
/** A multiplier for each column.
 * @param[in,out] pSrcDst height rows
 * @param[in] height number of rows, at least 2 winSize
 * @param[in] step elements from one row to the next, at least offset + 2 width
 * @param[in] pVal width multipliers, pVal[i] for column i
 * @param[in] width number of columns
 * @param[in] offset first column of the source
 * @param[in] winSize W, frames on each side
 * @return kivStatusNullPointer; kivStatusBadSize: height, width or winSize < 1, offset < 0 or height < 2 winSize;
 * kivStatusBadStep */
KIVSR_API KivStatus kivsEvalDeltaMul_32f_D2(Kiv32f* pSrcDst, int height, int step, const Kiv32f* pVal, int width,
                                            int offset, int winSize);
/** Of integers, one multiplier for all columns.
 * @param[in,out] pSrcDst height rows
 * @param[in] height number of rows, at least 2 winSize
 * @param[in] step elements from one row to the next, at least offset + 2 width
 * @param[in] width number of columns
 * @param[in] offset first column of the source
 * @param[in] winSize W, frames on each side
 * @param[in] val the multiplier
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: height, width or winSize < 1, offset < 0 or height < 2 winSize;
 * kivStatusBadStep */
KIVSR_API KivStatus kivsEvalDelta_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, int width, int offset, int winSize,
                                            Kiv16s val, int scaleFactor);
/** Of integers, a multiplier for each column.
 * @param[in,out] pSrcDst height rows
 * @param[in] height number of rows, at least 2 winSize
 * @param[in] step elements from one row to the next, at least offset + 2 width
 * @param[in] pVal width multipliers, pVal[i] for column i
 * @param[in] width number of columns
 * @param[in] offset first column of the source
 * @param[in] winSize W, frames on each side
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: height, width or winSize < 1, offset < 0 or height < 2 winSize;
 * kivStatusBadStep */
KIVSR_API KivStatus kivsEvalDeltaMul_16s_D2Sfs(Kiv16s* pSrcDst, int height, int step, const Kiv16s* pVal, int width,
                                               int offset, int winSize, int scaleFactor);
/** @} */

/** @defgroup delta_stream Streaming, windows of three and five frames
 *
 * Row r of pDst becomes [static | delta] (Delta) or [static | delta | acceleration] (DeltaDelta), each of `width`
 * columns:
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
 * |                                                 | Delta_Win1 | Delta_Win2 | DeltaDelta_Win1 | DeltaDelta_Win2 |
 * |-------------------------------------------------|------------|------------|-----------------|-----------------|
 * | H                                               | 2          | 4          | 3               | 6               |
 * | pending rows of a call without KIV_DELTA_END    | 1          | 2          | 2               | 4               |
 *
 * Mul forms: the statics are stored as x[i] pVal[i], the derivatives are taken from these and multiplied by the values
 * of their own columns.
 *
 * Columns beyond those of the row are not touched.
 * @{ */
/** @name Deltas
 * @{ */
/** Deltas.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 2 width
 * @param[in] height number of new frames
 * @param[in] val multiplier of the deltas
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                          Kiv32f val, int mode);
KIVSR_API KivStatus kivsDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                          Kiv32f val, int mode);
/** @} */
/** @name Deltas and accelerations
 * @{ */
/** Deltas and accelerations.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 3 width
 * @param[in] height number of new frames
 * @param[in] valD multiplier of the deltas
 * @param[in] valDD multiplier of the accelerations
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDeltaDelta_Win1_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                               Kiv32f valD, Kiv32f valDD, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win2_32f_D2(const Kiv32f* pSrc, int width, Kiv32f* pDst, int dstStep, int height,
                                               Kiv32f valD, Kiv32f valDD, int mode);
/** @} */
/** @name Deltas, a multiplier for each column
 * @{ */
/** Deltas, a multiplier for each column.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] pVal 2 width multipliers, of the statics and of the deltas
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 2 width
 * @param[in] height number of new frames
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                             int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                             int dstStep, int height, int mode);
/** @} */
/** @name Deltas and accelerations, a multiplier for each column
 * @{ */
/** Deltas and accelerations, a multiplier for each column.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] pVal 3 width multipliers, of the statics, of the deltas and of the accelerations
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 3 width
 * @param[in] height number of new frames
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDeltaDeltaMul_Win1_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                                  int dstStep, int height, int mode);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win2_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, int width, Kiv32f* pDst,
                                                  int dstStep, int height, int mode);
/** @} */
/** @name Deltas of integers
 * @{ */
/** Deltas of integers.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 2 width
 * @param[in] height number of new frames
 * @param[in] val multiplier of the deltas
 * @param[in] scaleFactor any
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                             Kiv16s val, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                             Kiv16s val, int scaleFactor, int mode);
/** @} */
/** @name Deltas and accelerations of integers
 * @{ */
/** Deltas and accelerations of integers.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 3 width
 * @param[in] height number of new frames
 * @param[in] valD multiplier of the deltas
 * @param[in] valDD multiplier of the accelerations
 * @param[in] scaleFactor any
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDeltaDelta_Win1_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                                  Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode);
KIVSR_API KivStatus kivsDeltaDelta_Win2_16s_D2Sfs(const Kiv16s* pSrc, int width, Kiv16s* pDst, int dstStep, int height,
                                                  Kiv16s valD, Kiv16s valDD, int scaleFactor, int mode);
/** @} */
/** @name Deltas of integers, a multiplier for each column
 * @{ */
/** Deltas of integers, a multiplier for each column.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] pVal 2 width multipliers, of the statics and of the deltas
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 2 width
 * @param[in] height number of new frames
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor);
/** @} */
/** @name Deltas and accelerations of integers, a multiplier for each column
 * @{ */
/** Deltas and accelerations of integers, a multiplier for each column.
 * @param[in] pSrc height frames of width values without gaps; must not overlap pDst
 * @param[in] pVal 3 width multipliers, of the statics, of the deltas and of the accelerations
 * @param[in] width values of a frame
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 3 width
 * @param[in] height number of new frames
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @param[in] scaleFactor any
 * @return kivStatusNullPointer; kivStatusBadSize: width < 1, height < 0, or height = 0 without KIV_DELTA_END;
 * kivStatusBadStep; kivStatusBadSize: KIV_DELTA_BEGIN with fewer than H frames */
KIVSR_API KivStatus kivsDeltaDeltaMul_Win1_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                     int dstStep, int height, int mode, int scaleFactor);
KIVSR_API KivStatus kivsDeltaDeltaMul_Win2_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, int width, Kiv16s* pDst,
                                                     int dstStep, int height, int mode, int scaleFactor);
/** @} */
/** @} */

/** @defgroup delta_aurora Streaming, window of nine frames
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
 * Mul: the derivatives are taken from the multiplied statics.
 *
 * Units: the standard computes c0 and log energy, natural logarithms, from samples of 16-bit integers. From samples of
 * -1 .. 1 both are lower by constants: so is column 12, the derivatives are the same.
 *
 * Source: ETSI ES 202 050.
 * @{ */
/** The window's weights alone.
 * @param[in] pSrc height frames of 14 values without gaps; must not overlap pDst
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 39
 * @param[in] height number of new frames
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return kivStatusNullPointer; kivStatusBadSize: height < 0, or height = 0 without KIV_DELTA_END; kivStatusBadStep;
 * kivStatusBadSize: KIV_DELTA_BEGIN with fewer than 8 frames */
KIVSR_API KivStatus kivsDeltaDelta_Aurora_32f_D2(const Kiv32f* pSrc, Kiv32f* pDst, int dstStep, int height, int mode);
/** A multiplier for each column besides.
 * @param[in] pSrc height frames of 14 values without gaps; must not overlap pDst
 * @param[in] pVal 39 multipliers, of the statics, of the deltas and of the accelerations
 * @param[in,out] pDst the rows, from the oldest that the call needs
 * @param[in] dstStep elements from one row to the next, at least 39
 * @param[in] height number of new frames
 * @param[in] mode sum of KIV_DELTA_BEGIN and KIV_DELTA_END, or 0
 * @return as without multipliers */
KIVSR_API KivStatus kivsDeltaDeltaMul_Aurora_32f_D2(const Kiv32f* pSrc, const Kiv32f* pVal, Kiv32f* pDst, int dstStep,
                                                    int height, int mode);
/** @copydoc kivsDeltaDelta_Aurora_32f_D2
 * @param[in] scaleFactor any */
KIVSR_API KivStatus kivsDeltaDelta_Aurora_16s_D2Sfs(const Kiv16s* pSrc, Kiv16s* pDst, int dstStep, int height, int mode,
                                                    int scaleFactor);
/** @copydoc kivsDeltaDeltaMul_Aurora_32f_D2
 * @param[in] scaleFactor any */
KIVSR_API KivStatus kivsDeltaDeltaMul_Aurora_16s_D2Sfs(const Kiv16s* pSrc, const Kiv16s* pVal, Kiv16s* pDst,
                                                       int dstStep, int height, int mode, int scaleFactor);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
