/* Copies, moves and fills. */
#ifndef KIVSR_VECTOR_COPY_H
#define KIVSR_VECTOR_COPY_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup elementwise_copies Copies and fills
 *
 * Copy: pDst[i] = pSrc[i]; the arrays must not overlap.
 * Move: the same, correct for arrays that overlap in any way.
 * Set: pDst[i] = val. Zero: pDst[i] = 0.
 *
 * Accuracy: exact, every bit of a NaN included.
 * @{ */
KIVSR_API KivStatus kivsCopy_8u(const Kiv8u* pSrc, Kiv8u* pDst, int len);
KIVSR_API KivStatus kivsCopy_16s(const Kiv16s* pSrc, Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32s(const Kiv32s* pSrc, Kiv32s* pDst, int len);
KIVSR_API KivStatus kivsCopy_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsCopy_64f(const Kiv64f* pSrc, Kiv64f* pDst, int len);
KIVSR_API KivStatus kivsMove_32f(const Kiv32f* pSrc, Kiv32f* pDst, int len);
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

KIVSR_END_DECLS

#endif
