/* Split vectors: a vector is quantised piece by piece, and rebuilt from the indices of its pieces. */
#ifndef KIVSR_VQ_SPLIT_VECTOR_H
#define KIVSR_VQ_SPLIT_VECTOR_H

#include "codebook.h"

KIVSR_BEGIN_DECLS

/** @defgroup splitvector Split vectors
 *
 * A vector is cut into nStreams pieces, back to back from element 0 of its row, one codebook for each; a row of indices
 * holds the index of each piece. The first type of SplitVQ is that of the vectors and the second the format of the
 * indices, in FormVectorVQ the other way round:
 *
 * | format | a row of indices                      | row r starts at  | books                 |
 * |--------|---------------------------------------|------------------|-----------------------|
 * | `16s`  | one element an index                  | element r * step | any                   |
 * | `8u`   | one element an index                  | element r * step | at most 256 codewords |
 * | `1u`   | fields of the index bits of each book | bit r * step     | any                   |
 *
 * Packed fields stand without gaps, across bytes, the most significant bit first; bit 7 of a byte is its first. Bits
 * outside the fields are left alone. Three books of 3, 6 and 5 index bits, step 16:
 *
 * @verbatim
 *   bit of the row   0  1  2 | 3  4  5  6  7   8 | 9 10 11 12 13 |14 15
 *   holds           a2 a1 a0 |b5 b4 b3 b2 b1  b0 |c4 c3 c2 c1 c0 | left alone
 *                   '-------- byte 0 ------' '-------- byte 1 ----------'
 *                    7  6  5   4  3  2  1  0   7   6  5  4  3  2   1  0   bit of the byte
 * @endverbatim
 *
 * @code{.c}
 * const Kiv32f first[4] = {0, 1, 2, 3}, second[2 * 2] = {0, 0, 5, 5};
 * const Kiv32f x[3] = {2.2F, 4, 6};
 * const KivsCdbkState_32f* books[2];
 * KivsCdbkState_32f *a, *b;
 * Kiv8u packed[1] = {0};
 * Kiv32f rebuilt[3];
 * kivsCdbkInitAlloc_L2_32f(&a, first, 1, 1, 4, 4, kivCdbkFullSearch);   // 4 codewords of one element: 2 bits
 * kivsCdbkInitAlloc_L2_32f(&b, second, 2, 2, 2, 2, kivCdbkFullSearch);  // 2 codewords of two elements: 1 bit
 * books[0] = a;
 * books[1] = b;
 * assert(kivsSplitVQ_32f1u(x, 3, packed, 8, 1, books, 2) == kivStatusOk);
 * assert(packed[0] == 0xA0);  // 10 1 00000
 * assert(kivsFormVectorVQ_1u32f(packed, 8, rebuilt, 3, 1, books, 2) == kivStatusOk);
 * assert(rebuilt[0] == 2 && rebuilt[1] == 5 && rebuilt[2] == 5);
 * kivsCdbkFree_32f(a);
 * kivsCdbkFree_32f(b);
 * @endcode
 * @{ */

/** @name Quantisation
 * @{ */
/** Quantises each piece of each row as VQ does.
 * @param[in] pSrc height rows of elements, row r at pSrc + r * srcStep
 * @param[in] srcStep elements from one row to the next, at least the sum of the books' widths
 * @param[out] pDst height rows of indices
 * @param[in] dstStep elements (16s, 8u) or bits (1u) from one row of indices to the next, at least nStreams
 * @param[in] height number of rows
 * @param[in] ppCdbks nStreams books
 * @param[in] nStreams number of pieces
 * @return kivStatusNullPointer: an array; kivStatusBadSize: a step, height or nStreams < 1, or nStreams > dstStep;
 * kivStatusNullPointer: a book; kivStatusBadSize: the widths exceed srcStep, the index bits dstStep (1u), or a book the
 * range of the format; kivStatusNoMemory, before anything is written */
KIVSR_API KivStatus kivsSplitVQ_32f16s(const Kiv32f* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                       const KivsCdbkState_32f* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_32f8u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_32f* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_32f1u(const Kiv32f* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_32f* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                       const KivsCdbkState_16s* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s8u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_16s* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsSplitVQ_16s1u(const Kiv16s* pSrc, int srcStep, Kiv8u* pDst, int dstStep, int height,
                                      const KivsCdbkState_16s* const* ppCdbks, int nStreams);
/** @} */

/** @name Reconstruction
 * @{ */
/** Rebuilds vectors: the codewords of a row's indices back to back in the output row. Nothing is written unless all is
 * well.
 * @param[in] pSrc height rows of indices
 * @param[in] srcStep elements (16s, 8u) or bits (1u) from one row of indices to the next
 * @param[out] pDst height rows of elements, row r at pDst + r * dstStep
 * @param[in] dstStep elements from one row to the next, at least the sum of the books' widths
 * @param[in] height number of rows
 * @param[in] ppCdbks nStreams books
 * @param[in] nStreams number of pieces
 * @return kivStatusNullPointer: an array; kivStatusBadSize: nStreams, a step or height < 1, or nStreams > srcStep (16s,
 * 8u); kivStatusNullPointer: a book; kivStatusBadSize: the widths exceed dstStep or the index bits srcStep (1u);
 * kivStatusBadSize: an index that names no codeword */
KIVSR_API KivStatus kivsFormVectorVQ_16s32f(const Kiv16s* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                            const KivsCdbkState_32f* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_8u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                           const KivsCdbkState_32f* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_1u32f(const Kiv8u* pSrc, int srcStep, Kiv32f* pDst, int dstStep, int height,
                                           const KivsCdbkState_32f* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_16s16s(const Kiv16s* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                            const KivsCdbkState_16s* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_8u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                           const KivsCdbkState_16s* const* ppCdbks, int nStreams);
KIVSR_API KivStatus kivsFormVectorVQ_1u16s(const Kiv8u* pSrc, int srcStep, Kiv16s* pDst, int dstStep, int height,
                                           const KivsCdbkState_16s* const* ppCdbks, int nStreams);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
