// Memory of filter banks: what GetSize counts, Init places and InitAlloc allocates.
#include <algorithm>
#include <limits>

#include "frame/allocator.h"
#include "frame/layout.h"
#include "frame/row_matrix.h"
#include "frame/status.h"
#include "kivsr/vector/fft.h"
#include "mel_bank.h"
#include "vector/copy.h"

namespace kivsr {

BankShape::BankShape(int window_length, int filter_count, Kiv32s mode_word) : filters(filter_count), mode(mode_word) {
  for (; fft_length < window_length; fft_length *= 2) ++fft_order;
}

namespace {

// --- the transform of a bank, by the type of its input ----------------------------

// Sizes in bytes: the transform object, the temporary memory of its construction, the work area of a transform.
struct FftSizes {
  int spec = 0;
  int construction = 0;
  int work = 0;
};

KivStatus fft_sizes(const KivsFFTSpec_R_32f*, int order, FftSizes* sizes) {
  return kivsFFTGetSize_R_32f(order, kivFftScaleNone, 0, &sizes->spec, &sizes->construction, &sizes->work);
}
KivStatus fft_sizes(const KivsFFTSpec_R_16s32s*, int order, FftSizes* sizes) {
  return kivsFFTGetSize_R_16s32s(order, kivFftScaleNone, 0, &sizes->spec, &sizes->construction, &sizes->work);
}
KivStatus place_fft(KivsFFTSpec_R_32f** spec, int order, Kiv8u* memory, Kiv8u* construction) {
  return kivsFFTInit_R_32f(spec, order, kivFftScaleNone, 0, memory, construction);
}
KivStatus place_fft(KivsFFTSpec_R_16s32s** spec, int order, Kiv8u* memory, Kiv8u* construction) {
  return kivsFFTInit_R_16s32s(spec, order, kivFftScaleNone, 0, memory, construction);
}
KivStatus allocate_fft(KivsFFTSpec_R_32f** spec, int order) {
  return kivsFFTInitAlloc_R_32f(spec, order, kivFftScaleNone, 0);
}
KivStatus allocate_fft(KivsFFTSpec_R_16s32s** spec, int order) {
  return kivsFFTInitAlloc_R_16s32s(spec, order, kivFftScaleNone, 0);
}
void release_fft(KivsFFTSpec_R_32f* spec) { kivsFFTFree_R_32f(spec); }
void release_fft(KivsFFTSpec_R_16s32s* spec) { kivsFFTFree_R_16s32s(spec); }

// --- layout ---------------------------------------------------------------------

// The spectrum and behind it the work area of its transform, which then takes the magnitudes.
template <class Bank>
std::size_t buffer_bytes(const BankShape& shape, const FftSizes& fft) {
  constexpr std::size_t kElement = sizeof(typename Bank::Weight);
  const std::size_t spectrum = (static_cast<std::size_t>(shape.fft_length) + 2) * kElement;
  return round_up(spectrum, kPartAlignment) +
         std::max(static_cast<std::size_t>(fft.work), (shape.half() + 1) * kElement);
}

// Everything behind the record.
template <class Bank>
struct BankParts {
  using Matrix = RowMatrix<typename Bank::Weight>;

  Layout layout;
  Part<Kiv32s> centres;
  Part<float> edges;
  Part<char> rising;
  Part<char> falling;
  Part<Kiv8u> fft{};
  Part<Kiv8u> construction{};
  Part<Kiv8u> buffer{};
  bool possible = true;

  explicit BankParts(const BankShape& shape)
      : centres(layout.add<Kiv32s>(shape.rows())),
        edges(layout.add<float>(shape.rows())),
        rising(layout.add<char>(Matrix::bytes(shape.rows(), shape.half() + kLead))),
        falling(layout.add<char>(Matrix::bytes(shape.rows(), shape.half()))) {
    if (shape.transforms()) {
      FftSizes sizes;
      possible = fft_sizes(static_cast<typename Bank::Fft*>(nullptr), shape.fft_order, &sizes) == kivStatusOk;
      fft = layout.add<Kiv8u>(static_cast<std::size_t>(sizes.spec));
      construction = layout.add<Kiv8u>(static_cast<std::size_t>(sizes.construction));
      buffer = layout.add<Kiv8u>(buffer_bytes<Bank>(shape, sizes));
    }
  }

  bool fits_int() const {
    constexpr std::size_t kLargest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return possible && layout.fits_int() && layout.bytes_from_any_start() <= kLargest - sizeof(Bank);
  }
};

template <class Bank>
void clear_bank(Bank& bank, const BankShape& shape) {
  bank = {};
  bank.mode = shape.mode;
  bank.fft_length = shape.fft_length;
  bank.fft_order = shape.fft_order;
  bank.filters = shape.filters;
  bank.linear_filters = shape.filters;
  bank.mel_divisor = 1.0F;
  if constexpr (requires { bank.weight_shift; }) bank.weight_shift = kWeightBits;
}

template <class W>
void advance_rows(W** rows, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) rows[i] += kLead;
}

template <class Bank>
bool allocate_parts(Bank& bank, const BankShape& shape) {
  using Matrix = RowMatrix<typename Bank::Weight>;
  if ((bank.centres = allocate<Kiv32s>(shape.rows())) == nullptr) return false;
  if ((bank.rising = Matrix::create(shape.rows(), shape.half() + kLead)) == nullptr) return false;
  advance_rows(bank.rising, shape.rows());
  if ((bank.falling = Matrix::create(shape.rows(), shape.half())) == nullptr) return false;
  if (shape.transforms()) {
    FftSizes sizes;
    if (fft_sizes(bank.fft, shape.fft_order, &sizes) != kivStatusOk) return false;
    if (allocate_fft(&bank.fft, shape.fft_order) != kivStatusOk) return false;
    const std::size_t bytes = buffer_bytes<Bank>(shape, sizes);
    bank.fft_buffer = static_cast<typename Bank::Weight*>(allocate_bytes(bytes));
    if (bank.fft_buffer == nullptr) return false;
    zero(bank.fft_buffer, shape.fft_length + 2);
  }
  return true;
}

}  // namespace

template <class Bank>
KivStatus bank_size(const BankShape& shape, int* size) {
  const BankParts<Bank> parts(shape);
  return run(require(parts.fits_int(), kivStatusBadSize),
             [&] { *size = static_cast<int>(sizeof(Bank) + parts.layout.bytes_from_any_start()); });
}

template <class Bank>
KivStatus place_bank(Bank* bank, const BankShape& shape, float** edges) {
  const BankParts<Bank> parts(shape);
  if (!parts.fits_int()) return kivStatusBadSize;
  void* const base = align_up(bank + 1);
  clear_bank(*bank, shape);
  bank->centres = parts.centres.in(base);
  bank->rising = BankParts<Bank>::Matrix::place(parts.rising.in(base), shape.rows(), shape.half() + kLead);
  advance_rows(bank->rising, shape.rows());
  bank->falling = BankParts<Bank>::Matrix::place(parts.falling.in(base), shape.rows(), shape.half());
  *edges = parts.edges.in(base);
  if (!shape.transforms()) return kivStatusOk;
  bank->fft_buffer = reinterpret_cast<typename Bank::Weight*>(parts.buffer.in(base));
  zero(bank->fft_buffer, shape.fft_length + 2);
  return place_fft(&bank->fft, shape.fft_order, parts.fft.in(base), parts.construction.in(base));
}

template <class Bank>
Bank* allocate_bank(const BankShape& shape) {
  Bank* const bank = allocate<Bank>(1);
  if (bank == nullptr) return nullptr;
  clear_bank(*bank, shape);
  if (allocate_parts(*bank, shape)) return bank;
  release_bank(bank);
  return nullptr;
}

template <class Bank>
void release_bank(Bank* bank) {
  release(bank->centres);
  release(bank->rising);
  release(bank->falling);
  // A handle used after its release finds no centres.
  bank->centres = nullptr;
  bank->rising = nullptr;
  bank->falling = nullptr;
  bank->ready = 0;
  release(bank->fft_buffer);
  if (bank->fft != nullptr) release_fft(bank->fft);
  release(bank);
}

template KivStatus bank_size<KivsFBankState_32f>(const BankShape&, int*);
template KivStatus bank_size<KivsFBankState_16s>(const BankShape&, int*);
template KivStatus place_bank<KivsFBankState_32f>(KivsFBankState_32f*, const BankShape&, float**);
template KivStatus place_bank<KivsFBankState_16s>(KivsFBankState_16s*, const BankShape&, float**);
template KivsFBankState_32f* allocate_bank<KivsFBankState_32f>(const BankShape&);
template KivsFBankState_16s* allocate_bank<KivsFBankState_16s>(const BankShape&);
template void release_bank<KivsFBankState_32f>(KivsFBankState_32f*);
template void release_bank<KivsFBankState_16s>(KivsFBankState_16s*);

}  // namespace kivsr
