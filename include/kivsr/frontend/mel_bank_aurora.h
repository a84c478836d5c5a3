/* The filter banks of the advanced front end. */
#ifndef KIVSR_FRONTEND_MEL_BANK_AURORA_H
#define KIVSR_FRONTEND_MEL_BANK_AURORA_H

#include "../types.h"

KIVSR_BEGIN_DECLS

/** @defgroup melbankaurora Filter banks of the advanced front end
 *
 * The two fixed banks of ETSI ES 202 050 (advanced front-end feature extraction; mel filter bank): fftLen 128 at
 * 8000 Hz, mel(f) = 2595 ln(1 + f / 700), evaluated and released like any other bank (@ref melbank) over 65 spectrum
 * values.
 *
 * | bank | filters | spacing                                         | ends                                           |
 * |------|---------|-------------------------------------------------|------------------------------------------------|
 * | Low  | 25      | centres at 24 equal mel steps, 1 Hz to 4000 Hz  | half triangles at bins 0 and 64                |
 * | High | 3       | edges at 4 equal mel steps, 80 Hz to 4000 Hz    | full triangles                                 |
 *
 * Positions are rounded to whole bins; triangles are linear in bins, 1 at the centre and 0 at both edges, and divided
 * by the sum of their weights. The 16s banks do this in integers with 14 fraction bits, truncating, so that their
 * weights add up to 1 or a little less. No filter is empty.
 *
 * Units: the banks are linear and take any, but the constants of the standard around them (floors, thresholds,
 * energies) are for samples of 16-bit integers. Feed the spectrum of samples of -32768 .. 32767 also to the 32f banks,
 * not of -1 .. 1.
 *
 * @code{.c}
 * KivsFBankState_32f* bank;
 * Kiv32s centres[27];
 * Kiv32f spectrum[65], bands[25];
 * int j;
 * assert(kivsMelFBankInitAllocLow_Aurora_32f(&bank) == kivStatusOk);
 * assert(kivsFBankGetCenters_32f(bank, centres) == kivStatusOk && centres[1] == 0 && centres[26] == 64);
 * for (j = 0; j < 65; ++j) spectrum[j] = 1000.0F;
 * assert(kivsEvalFBank_32f(spectrum, bands, bank) == kivStatusOk);
 * assert(fabs(bands[0] - 1000.0F) < 0.01F && fabs(bands[24] - 1000.0F) < 0.01F);  // weights of sum 1
 * kivsFBankFree_32f(bank);
 * @endcode
 * @{ */

/** @name Bytes of a bank
 * @{ */
/** Bytes of a bank.
 * @param[out] pSize bytes
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsMelFBankGetSizeLow_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSizeLow_Aurora_16s(int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSizeHigh_Aurora_32f(int* pSize);
KIVSR_API KivStatus kivsMelFBankGetSizeHigh_Aurora_16s(int* pSize);
/** @} */

/** @name A bank in the caller's block
 * @{ */
/** A bank in the caller's block, which is not to be freed by kivsFBankFree.
 * @param[out] pFBank a block of the bytes of GetSize, aligned for pointers
 * @return kivStatusNullPointer */
KIVSR_API KivStatus kivsMelFBankInitLow_Aurora_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsMelFBankInitLow_Aurora_16s(KivsFBankState_16s* pFBank);
KIVSR_API KivStatus kivsMelFBankInitHigh_Aurora_32f(KivsFBankState_32f* pFBank);
KIVSR_API KivStatus kivsMelFBankInitHigh_Aurora_16s(KivsFBankState_16s* pFBank);
/** @} */

/** @name A bank from the allocator
 * @{ */
/** A bank from the allocator; release it by kivsFBankFree.
 * @param[out] ppFBank the bank; unchanged on a failure
 * @return kivStatusNullPointer; kivStatusNoMemory */
KIVSR_API KivStatus kivsMelFBankInitAllocLow_Aurora_32f(KivsFBankState_32f** ppFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocLow_Aurora_16s(KivsFBankState_16s** ppFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocHigh_Aurora_32f(KivsFBankState_32f** ppFBank);
KIVSR_API KivStatus kivsMelFBankInitAllocHigh_Aurora_16s(KivsFBankState_16s** ppFBank);
/** @} */
/** @} */

KIVSR_END_DECLS

#endif
