// The filter-bank record, its construction in the caller's memory or from the allocator, and its release.
// Next: mel_bank_design.h (centres and weights), mel_bank_evaluation.cpp (the frame-by-frame path).
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/layout.h"
#include "kivsr/frontend/mel_bank.h"

namespace kivsr {

// Filter i = 1 .. filters covers the bins centres[i-1] .. centres[i+1]. Its rising half weighs the bins j from
// centres[i-1] to centres[i] by rising[i-1][j - centres[i-1]], its falling half the bins from centres[i] + 1 to
// centres[i+1] by falling[i-1][j - centres[i] - 1]. Unused weights are zero.
template <class W, class FftSpec>
struct FilterBank {
  using Weight = W;  // also the type of the spectrum in fft_buffer
  using Fft = FftSpec;

  Kiv32s* centres;  // filters + 2 bins
  Weight** rising;  // filters + 2 rows, kLead elements readable before each
  Weight** falling;
  Kiv32s mode;
  Kiv32s fft_length;
  Kiv32s fft_order;
  Kiv32s filters;
  Kiv32s linear_filters;
  Kiv32f mel_multiplier;
  Kiv32f mel_divisor;
  Kiv8u ready;
  Fft* fft;            // with KIV_FBANK_FFTINPUT only
  Weight* fft_buffer;  // fft_length + 2 elements, then the work area
};

// Elements before index 0 of a rising row.
inline constexpr std::size_t kLead = 3;

}  // namespace kivsr

struct KivsFBankState_32f : kivsr::FilterBank<Kiv32f, KivsFFTSpec_R_32f> {};

struct KivsFBankState_16s : kivsr::FilterBank<Kiv32s, KivsFFTSpec_R_16s32s> {
  Kiv32s weight_shift;  // fraction bits of the weights
};

namespace kivsr {

inline constexpr int kWeightBits = 14;

#if defined(__i386__)
using AnyFilterBank = FilterBank<Kiv32f, KivsFFTSpec_R_32f>;
static_assert(offsetof(AnyFilterBank, mode) == 12 && offsetof(AnyFilterBank, mel_multiplier) == 32 &&
              offsetof(AnyFilterBank, ready) == 40 && offsetof(AnyFilterBank, fft) == 44);
static_assert(sizeof(KivsFBankState_32f) == 52 && sizeof(KivsFBankState_16s) == 56);
#endif

// Behind the spectrum, on a 32-byte boundary: the work area of the transform, and then the magnitudes.
template <class Bank>
typename Bank::Weight* work_area(const Bank& bank) {
  return static_cast<typename Bank::Weight*>(align_up(bank.fft_buffer + bank.fft_length + 2));
}

// What decides the memory of a bank.
struct BankShape {
  static constexpr int kLongestWindow = 1 << 30;

  // window_length in 1 .. kLongestWindow: the FFT length is the smallest power of two, from 2, that holds a window.
  BankShape(int window_length, int filters, Kiv32s mode);

  std::size_t rows() const { return static_cast<std::size_t>(filters) + 2; }
  std::size_t half() const { return static_cast<std::size_t>(fft_length) / 2; }
  bool transforms() const { return (mode & KIV_FBANK_FFTINPUT) != 0; }

  int fft_length = 2;
  int fft_order = 1;
  int filters;
  Kiv32s mode;
};

// The bytes of a bank in the caller's memory, from a block of any alignment. kivStatusBadSize if int cannot hold them.
template <class Bank>
KivStatus bank_size(const BankShape& shape, int* size);

// A bank without centres and with zero weights in the caller's block, not ready. *edges receives room for filters + 2
// values, inside the block.
template <class Bank>
KivStatus place_bank(Bank* bank, const BankShape& shape, float** edges);

// The same from the allocator: null on failure, with nothing left allocated.
template <class Bank>
Bank* allocate_bank(const BankShape& shape);
template <class Bank>
void release_bank(Bank* bank);

}  // namespace kivsr
