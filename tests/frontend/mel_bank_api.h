// The functions of a filter bank by its element type.
#pragma once

#include "kivsr.h"

namespace kivsr::test {

struct FloatBank {
  using Bank = KivsFBankState_32f;
  using Source = Kiv32f;
  using Result = Kiv32f;
  static constexpr bool kFixed = false;
  static constexpr auto get_size = kivsMelFBankGetSize_32f;
  static constexpr auto init = kivsMelFBankInit_32f;
  static constexpr auto init_alloc = kivsMelFBankInitAlloc_32f;
  static constexpr auto mel_lin = kivsMelLinFBankInitAlloc_32f;
  static constexpr auto empty = kivsEmptyFBankInitAlloc_32f;
  static constexpr auto free_bank = kivsFBankFree_32f;
  static constexpr auto get_centres = kivsFBankGetCenters_32f;
  static constexpr auto set_centres = kivsFBankSetCenters_32f;
  static constexpr auto get_coeffs = kivsFBankGetCoeffs_32f;
  static constexpr auto set_coeffs = kivsFBankSetCoeffs_32f;
  static constexpr auto low_aurora = kivsMelFBankInitAllocLow_Aurora_32f;
  static constexpr auto low_aurora_size = kivsMelFBankGetSizeLow_Aurora_32f;
  static constexpr auto low_aurora_init = kivsMelFBankInitLow_Aurora_32f;
  static constexpr auto high_aurora = kivsMelFBankInitAllocHigh_Aurora_32f;
  static constexpr auto high_aurora_size = kivsMelFBankGetSizeHigh_Aurora_32f;
  static constexpr auto high_aurora_init = kivsMelFBankInitHigh_Aurora_32f;
  static KivStatus evaluate(const Source* src, Result* dst, const KivsFBankState_32f* bank) {
    return kivsEvalFBank_32f(src, dst, bank);
  }
};

struct FixedBank {
  using Bank = KivsFBankState_16s;
  using Source = Kiv16s;
  using Result = Kiv32s;
  static constexpr bool kFixed = true;
  static constexpr auto get_size = kivsMelFBankGetSize_16s;
  static constexpr auto init = kivsMelFBankInit_16s;
  static constexpr auto init_alloc = kivsMelFBankInitAlloc_16s;
  static constexpr auto mel_lin = kivsMelLinFBankInitAlloc_16s;
  static constexpr auto empty = kivsEmptyFBankInitAlloc_16s;
  static constexpr auto free_bank = kivsFBankFree_16s;
  static constexpr auto get_centres = kivsFBankGetCenters_16s;
  static constexpr auto set_centres = kivsFBankSetCenters_16s;
  static constexpr auto get_coeffs = kivsFBankGetCoeffs_16s;
  static constexpr auto set_coeffs = kivsFBankSetCoeffs_16s;
  static constexpr auto low_aurora = kivsMelFBankInitAllocLow_Aurora_16s;
  static constexpr auto low_aurora_size = kivsMelFBankGetSizeLow_Aurora_16s;
  static constexpr auto low_aurora_init = kivsMelFBankInitLow_Aurora_16s;
  static constexpr auto high_aurora = kivsMelFBankInitAllocHigh_Aurora_16s;
  static constexpr auto high_aurora_size = kivsMelFBankGetSizeHigh_Aurora_16s;
  static constexpr auto high_aurora_init = kivsMelFBankInitHigh_Aurora_16s;
  static KivStatus evaluate(const Source* src, Result* dst, const KivsFBankState_16s* bank) {
    return kivsEvalFBank_16s32s_Sfs(src, dst, bank, -4);
  }
};

}  // namespace kivsr::test
