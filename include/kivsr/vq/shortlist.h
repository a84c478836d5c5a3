/* Gaussian shortlists and sign tables: which mixture components are worth scoring at which frames. */
#ifndef KIVSR_VQ_SHORTLIST_H
#define KIVSR_VQ_SHORTLIST_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup shortlist Gaussian shortlists and sign tables
 *
 * Bit rows: bit p of a row is bit 7 - p mod 8 of byte p div 8, the most significant bit of a byte first.
 * Index lists: height rows of component indices 0 .. nGauss-1, back to back; width indices a row, or pLen[r] in row r.
 * All results are exact.
 * @{ */

/** @name Shortlists
 * For each frame t = 0 .. height-1 and each index g of its list, toggles
 *   Row, RowVar:        bit offset + g of row ppDst[t]   (a bit row per frame)
 *   Column, ColumnVar:  bit offset + t of row ppDst[g]   (a bit row per component)
 * Bits are toggled, not set: an index listed twice leaves its bit as it was, and filling twice restores the shortlist.
 * The destination is not cleared; clear the rows (dstBytes each) for a fresh shortlist.
 *
 * Statuses: -8 a null array; -6 height, nGauss, dstBytes or width < 1, offset < 0; -6 a pLen entry < 1 (ColumnVar:
 * after the next); -37 dstBytes does not hold offset + nGauss (columns: offset + height) bits; -5 an index outside 0 ..
 * nGauss-1. All indices are checked before a bit is touched. @{ */
KIVSR_API KivStatus kivsFillShortlist_Row_1u(const Kiv32s* pSrc, int nGauss, int width, Kiv8u** ppDst, int height,
                                             int dstBytes, int offset);
KIVSR_API KivStatus kivsFillShortlist_RowVar_1u(const Kiv32s* pSrc, const int* pLen, int nGauss, Kiv8u** ppDst,
                                                int height, int dstBytes, int offset);
KIVSR_API KivStatus kivsFillShortlist_Column_1u(const Kiv32s* pSrc, int width, Kiv8u** ppDst, int nGauss, int dstBytes,
                                                int offset, int height);
KIVSR_API KivStatus kivsFillShortlist_ColumnVar_1u(const Kiv32s* pSrc, const int* pLen, Kiv8u** ppDst, int nGauss,
                                                   int dstBytes, int offset, int height);
/** @} */

/** @name Sign tables
 * Reduces a shortlist by columns (ppShortlist[g], shortlistBytes each) to one bit row per mixture. pDst: height rows of
 * (nFrames + 7) / 8 bytes, one block, overwritten; bits behind nFrames are zero.
 *
 * kivsBuildSignTable_8u1u: bit k of row r tells whether any of the width components of mixture r is listed at bit
 * offset + k.
 *
 * kivsBuildSignTable_Var_8u1u: the first bit of row r tells whether any of the first pLen[r] components of the WHOLE
 * list is listed at any of the nFrames bits; no other bit is ever set.
 *
 * Statuses: -8 a null array; -6 width, nGauss, shortlistBytes, nFrames or height < 1, offset < 0; -37 shortlistBytes
 * does not hold offset + nFrames bits; -6 a pLen entry < 1; -5 an index, of any row, outside 0 .. nGauss-1. @{ */
KIVSR_API KivStatus kivsBuildSignTable_8u1u(const Kiv32s* pIndx, int width, const Kiv8u** ppShortlist, int nGauss,
                                            int shortlistBytes, int offset, Kiv8u* pDst, int height, int nFrames);
KIVSR_API KivStatus kivsBuildSignTable_Var_8u1u(const Kiv32s* pIndx, const int* pLen, const Kiv8u** ppShortlist,
                                                int nGauss, int shortlistBytes, int offset, Kiv8u* pDst, int height,
                                                int nFrames);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
