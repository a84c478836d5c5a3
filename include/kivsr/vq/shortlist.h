/* Gaussian shortlists and sign tables: which mixture components are worth scoring at which frames. */
#ifndef KIVSR_VQ_SHORTLIST_H
#define KIVSR_VQ_SHORTLIST_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup shortlist Gaussian shortlists and sign tables
 *
 * A shortlist is a set of bit rows; a sign table reduces it to one bit row a mixture. All results are exact.
 *
 * @verbatim
 *   bit of a row    0 1 2 3 4 5 6 7   8 9 ...      bit p is bit 7 - p mod 8 of byte p div 8,
 *                  +----------------+--------      the most significant bit of a byte first
 *   bit of a byte   7 6 5 4 3 2 1 0   7 6 ...
 * @endverbatim
 *
 * Index lists: height rows of component indices 0 .. nGauss-1, back to back; width indices a row, or in the Var forms
 * pLen[r] in row r.
 *
 * @code{.c}
 * const Kiv32s listed[3 * 2] = {0, 2, 2, 3, 0, 3};  // of 4 components the two worth scoring at each of 3 frames
 * const Kiv32s mixtures[2 * 2] = {0, 1, 2, 3};      // two mixtures of two components
 * Kiv8u bits[4] = {0, 0, 0, 0}, needed[2];
 * Kiv8u* rows[4];
 * const Kiv8u* shortlist[4];
 * int g;
 * for (g = 0; g < 4; ++g) shortlist[g] = rows[g] = bits + g;
 * assert(kivsFillShortlist_Column_1u(listed, 2, rows, 4, 1, 0, 3) == kivStatusOk);
 * assert(bits[0] == 0xA0 && bits[1] == 0 && bits[2] == 0xC0 && bits[3] == 0x60);  // frames 0 and 2, ...
 * assert(kivsBuildSignTable_8u1u(mixtures, 2, shortlist, 4, 1, 0, needed, 2, 3) == kivStatusOk);
 * assert(needed[0] == 0xA0 && needed[1] == 0xE0);  // the second mixture matters at every frame
 * @endcode
 * @{ */

/** @name Shortlists, a bit row per frame
 * @{ */
/** For each frame t = 0 .. height-1 and each index g of its list, toggles bit offset + g of row ppDst[t]. Bits are
 * toggled, not set: an index listed twice leaves its bit as it was, and filling twice restores the shortlist. The
 * destination is not cleared; clear the rows for a fresh shortlist. All indices are checked before a bit is touched.
 * @param[in] pSrc the lists
 * @param[in] nGauss number of components
 * @param[in] width indices of each list
 * @param[in,out] ppDst height bit rows
 * @param[in] height number of frames
 * @param[in] dstBytes bytes of a bit row
 * @param[in] offset bit of component 0
 * @return kivStatusNullPointer; kivStatusBadSize: height, nGauss, dstBytes or width < 1, offset < 0; kivStatusBadStep:
 * dstBytes does not hold offset + nGauss bits; kivStatusBadArgument: an index outside 0 .. nGauss-1 */
KIVSR_API KivStatus kivsFillShortlist_Row_1u(const Kiv32s* pSrc, int nGauss, int width, Kiv8u** ppDst, int height,
                                             int dstBytes, int offset);
/** As kivsFillShortlist_Row_1u, with lists of their own lengths.
 * @param[in] pSrc the lists
 * @param[in] pLen height lengths of lists
 * @param[in] nGauss number of components
 * @param[in,out] ppDst height bit rows
 * @param[in] height number of frames
 * @param[in] dstBytes bytes of a bit row
 * @param[in] offset bit of component 0
 * @return as kivsFillShortlist_Row_1u; kivStatusBadSize for a length < 1 comes before kivStatusBadStep */
KIVSR_API KivStatus kivsFillShortlist_RowVar_1u(const Kiv32s* pSrc, const int* pLen, int nGauss, Kiv8u** ppDst,
                                                int height, int dstBytes, int offset);
/** @} */

/** @name Shortlists, a bit row per component
 * @{ */
/** For each frame t = 0 .. height-1 and each index g of its list, toggles bit offset + t of row ppDst[g]; otherwise as
 * kivsFillShortlist_Row_1u.
 * @param[in] pSrc the lists
 * @param[in] width indices of each list
 * @param[in,out] ppDst nGauss bit rows
 * @param[in] nGauss number of components
 * @param[in] dstBytes bytes of a bit row
 * @param[in] offset bit of frame 0
 * @param[in] height number of frames
 * @return kivStatusNullPointer; kivStatusBadSize: height, nGauss, dstBytes or width < 1, offset < 0; kivStatusBadStep:
 * dstBytes does not hold offset + height bits; kivStatusBadArgument: an index outside 0 .. nGauss-1 */
KIVSR_API KivStatus kivsFillShortlist_Column_1u(const Kiv32s* pSrc, int width, Kiv8u** ppDst, int nGauss, int dstBytes,
                                                int offset, int height);
/** As kivsFillShortlist_Column_1u, with lists of their own lengths.
 * @param[in] pSrc the lists
 * @param[in] pLen height lengths of lists
 * @param[in,out] ppDst nGauss bit rows
 * @param[in] nGauss number of components
 * @param[in] dstBytes bytes of a bit row
 * @param[in] offset bit of frame 0
 * @param[in] height number of frames
 * @return as kivsFillShortlist_Column_1u; kivStatusBadSize for a length < 1 comes after kivStatusBadStep */
KIVSR_API KivStatus kivsFillShortlist_ColumnVar_1u(const Kiv32s* pSrc, const int* pLen, Kiv8u** ppDst, int nGauss,
                                                   int dstBytes, int offset, int height);
/** @} */

/** @name Sign tables
 * @{ */
/** Bit k of row r tells whether any of the width components of mixture r is listed at bit offset + k. Bits behind
 * nFrames are zero.
 * @param[in] pIndx the component indices of each mixture
 * @param[in] width components of a mixture
 * @param[in] ppShortlist nGauss bit rows, one per component
 * @param[in] nGauss number of components
 * @param[in] shortlistBytes bytes of a bit row
 * @param[in] offset bit of frame 0
 * @param[out] pDst height rows of (nFrames + 7) / 8 bytes, one block
 * @param[in] height number of mixtures
 * @param[in] nFrames number of frames
 * @return kivStatusNullPointer; kivStatusBadSize: width, nGauss, shortlistBytes, nFrames or height < 1, offset < 0;
 * kivStatusBadStep: shortlistBytes does not hold offset + nFrames bits; kivStatusBadArgument: an index, of any row,
 * outside 0 .. nGauss-1 */
KIVSR_API KivStatus kivsBuildSignTable_8u1u(const Kiv32s* pIndx, int width, const Kiv8u* const* ppShortlist, int nGauss,
                                            int shortlistBytes, int offset, Kiv8u* pDst, int height, int nFrames);
/** The first bit of row r tells whether any of the first pLen[r] components of the WHOLE list is listed at any of the
 * nFrames bits; no other bit is ever set.
 * @param[in] pIndx the component indices
 * @param[in] pLen height lengths of lists
 * @param[in] ppShortlist nGauss bit rows, one per component
 * @param[in] nGauss number of components
 * @param[in] shortlistBytes bytes of a bit row
 * @param[in] offset bit of frame 0
 * @param[out] pDst height rows of (nFrames + 7) / 8 bytes, one block
 * @param[in] height number of mixtures
 * @param[in] nFrames number of frames
 * @return as kivsBuildSignTable_8u1u; kivStatusBadSize for a length < 1 comes after kivStatusBadStep */
KIVSR_API KivStatus kivsBuildSignTable_Var_8u1u(const Kiv32s* pIndx, const int* pLen, const Kiv8u* const* ppShortlist,
                                                int nGauss, int shortlistBytes, int offset, Kiv8u* pDst, int height,
                                                int nFrames);
/** @} */

/** @} */

KIVSR_END_DECLS

#endif
