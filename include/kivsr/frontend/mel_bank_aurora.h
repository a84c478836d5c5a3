/* The filter banks of the advanced front end. */
#ifndef KIVSR_FRONTEND_MEL_BANK_AURORA_H
#define KIVSR_FRONTEND_MEL_BANK_AURORA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup melbankaurora Filter banks of the advanced front end
 *
 * The two fixed banks of ETSI ES 202 050 (Advanced front-end feature extraction; mel filter bank): fftLen 128 at
 * 8000 Hz, mel(f) = 2595 ln(1 + f / 700), evaluated like any other bank over 65 spectrum values.
 *
 * - Low: 25 filters with centres at 24 equal mel steps from 1 Hz to 4000 Hz, from bin 0 to bin 64. The first is a half
 *   triangle that falls from bin 0, the last one rises to bin 64.
 * - High: 3 full triangles at 4 equal mel steps from 80 Hz to 4000 Hz.
 *
 * Positions are rounded to whole bins; triangles are linear in bins, 1 at the centre and 0 at both edges, and divided
 * by the sum of their weights. The 16s banks do this in integers with 14 fraction bits, truncating, so that their
 * weights add up to 1 or a little less.
 *
 * Statuses, in order: -8 null; InitAlloc: -9 no memory.
 * @{ */
KIVSR_API KivStatus kivsMelFBankGetSizeLow_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSizeLow_Aurora_16s(int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSizeHigh_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSizeHigh_Aurora_16s(int* pSize);
KIVSR_API KivStatus kivsMelFBankInitLow_Aurora_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsMelFBankInitLow_Aurora_16s(KivsFBankState_16s* pFBank);
KIVSR_API KivStatus kivsMelFBankInitHigh_Aurora_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsMelFBankInitHigh_Aurora_16s(KivsFBankState_16s* pFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocLow_Aurora_32f(KivsFBankState_32f** ppFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocLow_Aurora_16s(KivsFBankState_16s** ppFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocHigh_Aurora_32f(KivsFBankState_32f** ppFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocHigh_Aurora_16s(KivsFBankState_16s** ppFBank);
/** @} */

KIVSR_END_DECLS

#endif
