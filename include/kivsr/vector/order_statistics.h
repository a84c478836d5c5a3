/* The N-th largest element. */
#ifndef KIVSR_VECTOR_ORDER_STATISTICS_H
#define KIVSR_VECTOR_ORDER_STATISTICS_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup orderstatistics N-th largest element
 *
 * @code{.c}
 * const Kiv32f lengths[5] = {3.0F, 9.0F, 1.0F, 7.0F, 7.0F};
 * Kiv32f median;
 * assert(kivsNthMaxElement_32f(lengths, 5, 5 / 2, &median) == kivStatusOk && median == 7.0F);
 * @endcode
 * @{ */

/** @name Selection
 * @{ */
/** *pRes = the element at position N, counted from 0, of the vector sorted in DEcreasing order: N = 0 is the maximum,
 * N = len - 1 the minimum, N = len / 2 a median. NaN sorts behind all numbers. pSrc is left as it is: the selection
 * works on a copy in a block from the library's allocator. Nothing is written on an error.
 *
 * Time is linear in len on average and len log len at worst (sorted, equal and adversarial data included).
 * @param[in] pSrc len elements
 * @param[in] len number of elements
 * @param[in] N position, from 0
 * @param[out] pRes one element
 * @return kivStatusNullPointer; kivStatusBadSize: len < 1; kivStatusBadArgument: N is not in [0, len);
 * kivStatusNoMemory */
KIVSR_API KivStatus kivsNthMaxElement_32s(const Kiv32s* pSrc, int len, int N, Kiv32s* pRes);
KIVSR_API KivStatus kivsNthMaxElement_32f(const Kiv32f* pSrc, int len, int N, Kiv32f* pRes);
KIVSR_API KivStatus kivsNthMaxElement_64f(const Kiv64f* pSrc, int len, int N, Kiv64f* pRes);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
