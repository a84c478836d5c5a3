// Memory of filter banks: what GetSize counts, Init places and InitAlloc allocates.
#include <algorithm>
#include <limits>

#include "frame/allocator.h"
#include "frame/layout.h"
#include "frame/row_matrix.h"
#include "frame/status.h"
#include "mel_bank.h"
#include "vector/copy.h"
#include "vector/fft.h"

namespace kivsr {

BankShape::BankShape(int window_length, int filter_count, Kiv32s mode_word) : filters(filter_count), mode(mode_word) {
  for (; fft_length < window_length; fft_length *= 2) ++fft_order;
}

namespace {

// --- layout ---------------------------------------------------------------------

// The spectrum, and the work area behind it: for the tables of the transform while it is constructed, for each
// transform, and then for the magnitudes.
template <class Bank>
std::size_t buffer_bytes(const BankShape& shape, const fft::Sizes& fft) {
  constexpr std::size_t kElement = sizeof(typename Bank::Weight);
  const std::size_t spectrum = (static_cast<std::size_t>(shape.fft_length) + 2) * kElement;
  return round_up(spectrum, kPartAlignment) + std::max({fft.work, fft.construction, (shape.half() + 1) * kElement});
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
  Part<Kiv8u> buffer{};

  explicit BankParts(const BankShape& shape)
      : centres(layout.add<Kiv32s>(shape.rows())),
        edges(layout.add<float>(shape.rows())),
        rising(layout.add<char>(Matrix::bytes(shape.rows(), shape.half() + kLead))),
        falling(layout.add<char>(Matrix::bytes(shape.rows(), shape.half()))) {
    if (shape.transforms()) {
      const fft::Sizes sizes = fft::sizes<typename Bank::Fft>(shape.fft_order);
      fft = layout.add<Kiv8u>(sizes.object);
      buffer = layout.add<Kiv8u>(buffer_bytes<Bank>(shape, sizes));
    }
  }

  bool fits_int() const {
    constexpr std::size_t kLargest = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return layout.fits_int() && layout.bytes_from_any_start() <= kLargest - sizeof(Bank);
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
    using Fft = typename Bank::Fft;
    const fft::Sizes sizes = fft::sizes<Fft>(shape.fft_order);
    const std::size_t bytes = buffer_bytes<Bank>(shape, sizes);
    if ((bank.fft_buffer = static_cast<typename Bank::Weight*>(allocate_bytes(bytes))) == nullptr) return false;
    void* const object = allocate_bytes(sizes.object);
    if (object == nullptr) return false;
    bank.fft = fft::construct<Fft>(object, work_area(bank), shape.fft_order, kivFftScaleNone);
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
  bank->fft =
      fft::construct<typename Bank::Fft>(parts.fft.in(base), work_area(*bank), shape.fft_order, kivFftScaleNone);
  return kivStatusOk;
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
  release(bank->fft);
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
