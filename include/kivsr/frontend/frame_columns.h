/* Frames of a signal, side by side. */
#ifndef KIVSR_FRONTEND_FRAME_COLUMNS_H
#define KIVSR_FRONTEND_FRAME_COLUMNS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup frame_columns Windowed frames
 *
 * Overlapping frames of a signal, pre-emphasised and windowed, as the columns of a matrix: what the @ref dft_columns,
 * kivsEvalFBankColumns_32f and kivsDCTLifterColumns_32f make spectra, bands and cepstra of.
 *
 * @code{.c}
 * Kiv32f signal[1 + 10], window[4] = {1, 2, 2, 1}, frames[4][3], energy[3];
 * int n;
 * for (n = 0; n <= 10; ++n) signal[n] = (Kiv32f)(n * n);
 * assert(kivsFrameColumns_32f(signal, 3, 3, frames[0], 3, window, 4, 0.5f, 0, energy) == kivStatusOk);
 * assert(frames[0][0] == 1 * (1 - 0.5f * 0) && frames[1][0] == 2 * (4 - 0.5f * 1));
 * assert(frames[0][2] == 1 * (49 - 0.5f * 36) && energy[0] == 1 + 16 + 81 + 256);
 * @endcode
 * @{ */

/** For frame c = 0 .. frames - 1 with the samples x_n = pSrc[c * shift + 1 + n], n = 0 .. len - 1, and x_-1, the one
 * before them:
 *
 *     y_n = (x_n - m) - preEmphasis * (x_(n-1) - m),    pDst[n * step + c] = pWindow[n] * (y_n - m')
 *
 * | mode                      | meaning                                                          |
 * |---------------------------|------------------------------------------------------------------|
 * | KIV_FRAME_CENTRED         | m is the mean of x_0 .. x_(len-1), else 0                        |
 * | KIV_FRAME_CENTRED_BEHIND  | m' is the mean of y_0 .. y_(len-1), else 0                       |
 * | KIV_FRAME_OWN_START       | x_0 stands in the place of x_-1                                  |
 * | KIV_FRAME_WINDOWED_ENERGY | pEnergy: the sum of the squares of column c, else of the x_n - m |
 *
 * Everything in single precision, reduction(len) for sums. A frame has the same bits however many stand beside it.
 *
 * @param[in] pSrc (frames - 1) * shift + len + 1 samples, one of them before the first frame
 * @param[in] shift samples from a frame to the next
 * @param[in] frames number of frames
 * @param[out] pDst len rows of `frames` values; must not overlap the inputs
 * @param[in] step elements from a row to the next. Of the columns behind the last frame those that the number of lanes
 * of a register fills up, eight at most, may be written, where there is room for all
 * @param[in] pWindow len weights
 * @param[in] len samples of a frame
 * @param[in] preEmphasis factor of the sample before
 * @param[in] mode any of KIV_FRAME_..., or 0
 * @param[out] pEnergy `frames` values; may be null for none
 * @return kivStatusNullPointer, kivStatusBadSize: shift < 1, frames < 1 or len < 1, kivStatusBadStep: step < frames,
 * kivStatusBadArgument: another bit in mode */
KIVSR_API KivStatus kivsFrameColumns_32f(const Kiv32f* pSrc, int shift, int frames, Kiv32f* pDst, int step,
                                         const Kiv32f* pWindow, int len, Kiv32f preEmphasis, int mode, Kiv32f* pEnergy);

/** @} */

KIVSR_END_DECLS

#endif
