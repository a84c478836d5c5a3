// Real FFT for other families: the same objects and transforms as the exports, called directly. Nothing is checked and
// nothing is allocated; all memory is the caller's:
//
//   const fft::Sizes sizes = fft::sizes<KivsFFTSpec_R_32f>(order);
//   // blocks of sizes.object, sizes.construction and sizes.work bytes, at any address
//   auto* spec = fft::construct<KivsFFTSpec_R_32f>(object, construction, order, kivFftScaleNone);
//   fft::forward(samples, spectrum, *spec, work, fft::Spectrum::kCcs);   // any number of times
//
// `construction` is free again after construct(); `work` belongs to one transform at a time and keeps nothing between
// two. Either may be null where its size is 0. The object must stay where it was built. It owns nothing: to release its
// block is all there is to do. Objects of exports and of construct() are the same.
#pragma once

#include <algorithm>
#include <cstddef>

#include "frame/layout.h"
#include "frame/scratch.h"
#include "kivsr/types.h"

namespace kivsr::fft {

inline constexpr int kMaximumOrder = 30;

// Bytes, each enough from an address of any alignment; the largest size_t where that cannot hold them, which neither
// the allocator nor Layout accepts.
struct Sizes {
  std::size_t object;        // the object and its tables
  std::size_t construction;  // temporary memory of construct(); 0 up to order 10
  std::size_t work;          // temporary memory of a transform; 0 below order 4
};

// Spec: KivsFFTSpec_R_32f or KivsFFTSpec_R_16s32s; order 0 .. kMaximumOrder.
template <class Spec>
Sizes sizes(int order);
template <>
Sizes sizes<KivsFFTSpec_R_32f>(int order);
template <>
Sizes sizes<KivsFFTSpec_R_16s32s>(int order);

// The object stands at the first 32-byte boundary in `object`. flag: kivFftScaleForward ... kivFftScaleNone.
template <class Spec>
Spec* construct(void* object, void* construction, int order, int flag, int hint = 0);
template <>
KivsFFTSpec_R_32f* construct(void* object, void* construction, int order, int flag, int hint);
template <>
KivsFFTSpec_R_16s32s* construct(void* object, void* construction, int order, int flag, int hint);

// Where bin k stands: pairs at 2 k, or at 2 k - 1 (Pack). The real bins 0 and N / 2 differ in each.
enum class Spectrum { kCcs, kPack, kPerm };

// N samples to N values (kCcs: N + 2). dst may be src.
void forward(const Kiv32f* src, Kiv32f* dst, const KivsFFTSpec_R_32f& spec, void* work, Spectrum spectrum);
// N samples to the N + 2 values of a CCS spectrum times 2^-scale_factor, to the nearest integer.
void forward(const Kiv16s* src, Kiv32s* dst, const KivsFFTSpec_R_16s32s& spec, void* work, int scale_factor);
// A Pack spectrum to N samples. dst may be src.
void inverse(const Kiv32f* src, Kiv32f* dst, const KivsFFTSpec_R_32f& spec, void* work);

// src_dst = src times the conjugate of src_dst, both Pack spectra of `len` values.
void multiply_pack_conjugate(const Kiv32f* src, Kiv32f* src_dst, std::ptrdiff_t len);

// An object for the length of a call, with its work area and frames of 2^order samples, in one block of memory. The
// area is first the temporary memory of the object's construction.
class Workspace {
 public:
  Workspace(int order, std::size_t frames, int flag) : Workspace(sizes<KivsFFTSpec_R_32f>(order), order, frames) {
    if (block_) transform_ = construct<KivsFFTSpec_R_32f>(object_.in(block_.data()), work(), order, flag);
  }

  // False when there is no memory.
  explicit operator bool() const { return static_cast<bool>(block_); }
  const KivsFFTSpec_R_32f& transform() const { return *transform_; }
  void* work() { return work_.in(block_.data()); }
  Kiv32f* frame(std::ptrdiff_t number) { return frames_.in(block_.data()) + number * length_; }

 private:
  Workspace(const Sizes& sizes, int order, std::size_t frames)
      : length_(std::ptrdiff_t{1} << order),
        object_(layout_.add<char>(sizes.object)),
        work_(layout_.add<char>(std::max(sizes.work, sizes.construction))),
        frames_(layout_.add<Kiv32f>(frames, static_cast<std::size_t>(length_))),
        block_(layout_.overflow() ? static_cast<std::size_t>(-1) : layout_.bytes()) {}

  Layout layout_;
  std::ptrdiff_t length_;
  Part<char> object_;
  Part<char> work_;
  Part<Kiv32f> frames_;
  Scratch<char> block_;
  const KivsFFTSpec_R_32f* transform_ = nullptr;
};

}  // namespace kivsr::fft
