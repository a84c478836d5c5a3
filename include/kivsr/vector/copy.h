/* Copies, moves and fills. */
#ifndef KIVSR_VECTOR_COPY_H
#define KIVSR_VECTOR_COPY_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup copy Copies and fills
 *
 * | operation | result           | 8u | 16s | 32s | 32f | 64f |
 * |-----------|------------------|----|-----|-----|-----|-----|
 * | Copy      | pDst[i] = pSrc[i]| x  | x   | x   | x   | x   |
 * | Move      | the same         |    |     |     | x   |     |
 * | Set       | pDst[i] = val    | x  | x   | x   | x   | x   |
 * | Zero      | pDst[i] = 0      | x  | x   |     | x   | x   |
 *
 * Accuracy: exact, every bit of a NaN included. Nothing is written on an error.
 *
 * @code{.c}
 * Kiv32f history[5] = {1, 2, 3, 4, 5};
 * assert(kivsMove_32f(history + 2, history, 3) == kivStatusOk);  // the oldest two drop out
 * assert(kivsSet_32f(9, history + 3, 2) == kivStatusOk);
 * assert(history[0] == 3 && history[2] == 5 && history[3] == 9 && history[4] == 9);
 * @endcode
 * @{ */

/** @name Copies
 * @{ */
/** The arrays do not overlap.
 * @param[in] pSrc len elements
 * @param[out] pDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsCopy_8u(const Kiv8u* pSrc, Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsCopy_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsCopy_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
/** @} */

/** @name Moves
 * @{ */
/** Correct for arrays that overlap in any way. With pDst == pSrc no memory is touched.
 * @param[in] pSrc len elements
 * @param[out] pDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsMove_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
/** @} */

/** @name Fills
 * @{ */
/** @param[in] val what every element becomes
 * @param[out] pDst len elements
 * @param[in] len number of elements
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1 */
KIVSR_API KivStatus kivsSet_8u(Kiv8u val, Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsSet_16s(Kiv16s val, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsSet_32s(Kiv32s val, Kiv32s* pDst, int len);
KIVSR_API KivStatus kivsSet_32f(Kiv32f val, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsSet_64f(Kiv64f val, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsZero_8u(Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsZero_16s(Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsZero_32f(Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsZero_64f(Kiv64f* pDst, int len);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
