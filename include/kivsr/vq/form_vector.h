/* One vector put together from plain tables of codewords. */
#ifndef KIVSR_VQ_FORM_VECTOR_H
#define KIVSR_VQ_FORM_VECTOR_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup formvector Vectors from plain tables
 *
 * The vector is made of one codeword of each table, back to back. The first type is that of the indices and the second
 * that of the elements.
 *
 * @code{.c}
 * const Kiv32f pairs[3 * 2] = {0, 1, 10, 11, 20, 21}, single[2] = {-1, -2};
 * const Kiv32f* const tables[2] = {pairs, single};
 * const int sizes[2] = {3, 2}, widths[2] = {2, 1}, steps[2] = {2, 1};
 * const Kiv8u indices[2] = {2, 1};
 * Kiv32f x[3];
 * assert(kivsFormVector_8u32f(indices, tables, sizes, widths, steps, 2, x) == kivStatusOk);
 * assert(x[0] == 20 && x[1] == 21 && x[2] == -2);
 * @endcode
 * @{ */

/** @name Codewords of any width
 * @{ */
/** pDst receives, for k = 0 ... nStreams - 1 back to back, the pWidth[k] elements that start at element
 * pInd[k] * pStep[k] of table ppCdbk[k]. A step below the width overlaps codewords. Nothing is written unless all is
 * well.
 * @param[in] pInd nStreams indices
 * @param[in] ppCdbk nStreams tables
 * @param[in] pCdbkSize codewords of each table
 * @param[in] pWidth elements of a codeword of each table
 * @param[in] pStep elements from one codeword to the next of each table
 * @param[in] nStreams number of tables
 * @param[out] pDst as many elements as the sum of pWidth
 * @return kivStatusNullPointer: an array; kivStatusBadSize: nStreams < 1; then for each stream kivStatusBadSize: a
 * width or step < 1, or an index that is negative or not below the size; kivStatusNullPointer: a table */
KIVSR_API KivStatus kivsFormVector_8u32f(const Kiv8u* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize,
                                         const int* pWidth, const int* pStep, int nStreams, Kiv32f* pDst);
KIVSR_API KivStatus kivsFormVector_16s32f(const Kiv16s* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize,
                                          const int* pWidth, const int* pStep, int nStreams, Kiv32f* pDst);
KIVSR_API KivStatus kivsFormVector_8u16s(const Kiv8u* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize,
                                         const int* pWidth, const int* pStep, int nStreams, Kiv16s* pDst);
KIVSR_API KivStatus kivsFormVector_16s16s(const Kiv16s* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize,
                                          const int* pWidth, const int* pStep, int nStreams, Kiv16s* pDst);
/** @} */

/** @name Codewords of 2 or 4 elements
 * @{ */
/** Tables of codewords of 2 (2i) or 4 (4i) elements without padding. Of len elements a rest that fills no codeword is
 * left alone. Nothing is written unless all is well.
 * @param[in] pInd len / 2 or len / 4 indices
 * @param[in] ppCdbk as many tables
 * @param[in] pCdbkSize codewords of each table
 * @param[out] pDst len elements
 * @param[in] len elements of the vector
 * @return kivStatusNullPointer: an array; kivStatusBadSize: len < 1; then for each stream kivStatusBadSize: an index
 * that is negative or not below the size; kivStatusNullPointer: a table */
KIVSR_API KivStatus kivsFormVector_2i_8u32f(const Kiv8u* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize,
                                            Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_2i_16s32f(const Kiv16s* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize,
                                             Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_2i_8u16s(const Kiv8u* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize,
                                            Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_2i_16s16s(const Kiv16s* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize,
                                             Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_8u32f(const Kiv8u* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize,
                                            Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_16s32f(const Kiv16s* pInd, const Kiv32f* const* ppCdbk, const int* pCdbkSize,
                                             Kiv32f* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_8u16s(const Kiv8u* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize,
                                            Kiv16s* pDst, int len);
KIVSR_API KivStatus kivsFormVector_4i_16s16s(const Kiv16s* pInd, const Kiv16s* const* ppCdbk, const int* pCdbkSize,
                                             Kiv16s* pDst, int len);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
