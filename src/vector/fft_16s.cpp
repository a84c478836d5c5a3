// Real FFT of 16-bit samples to a 32-bit integer spectrum. The transform runs in double precision: 53 bits hold any
// exact result of 46 bits (order 30) closely enough to round to the nearest integer.
#include <cstring>

#include "fft_object.h"
#include "fft_transform.h"
#include "frame/layout.h"
#include "frame/rounding_mode.h"
#include "kivsr/vector/fft.h"

// Placed at a 32-byte boundary, the tables behind it.
struct KivsFFTSpec_R_16s32s {
  Kiv32s identifier;
  Kiv32s order;
  Kiv32s hint;
  Kiv32s reserved;
  Kiv64f factor;  // of the forward transform
  double* complex_tables;
  double* real_tables;
};

namespace kivsr::fft {
namespace {

constexpr std::size_t kHeaderBytes = round_up(sizeof(KivsFFTSpec_R_16s32s), 32);

struct Integer16s32s {
  using Spec = KivsFFTSpec_R_16s32s;
  static constexpr Kiv32s kIdentifier = 0x434D414F;

  static std::uint64_t real_table_count(int order) { return std::uint64_t{7} << order >> 3; }

  static Sizes sizes(int order) {
    if (order < kFirstTableOrder) return {kHeaderBytes + 31, 0, 0};
    const std::uint64_t n = std::uint64_t{1} << order;
    const std::uint64_t tables = middle_table_count<double>(order) + real_table_count(order);
    // The work buffer holds the spectrum, too.
    return {kHeaderBytes + sizeof(double) * tables + 31,
            order >= kTemporaryOrder ? sizeof(double) * quarter_wave_count(order) + 31 : 0,
            sizeof(double) * (work_count<double>(order) + n + 2) + 31};
  }

  static Spec* place(void* memory, void* temporary, int order, int flag, int hint) {
    auto* const spec = static_cast<Spec*>(align_up(memory));
    std::memset(spec, 0, sizeof *spec);
    spec->identifier = kIdentifier;
    spec->order = order;
    spec->hint = hint;
    spec->factor = scales_forward(flag) ? scale_factor<double>(order, flag) : 1.0;
    if (order < kFirstTableOrder) return spec;
    spec->complex_tables = reinterpret_cast<double*>(reinterpret_cast<char*>(spec) + kHeaderBytes);
    spec->real_tables = spec->complex_tables + middle_table_count<double>(order);
    const Tables<double> tables{spec->complex_tables, spec->real_tables, 0.5};
    if (order <= kFixedOrder) {
      build_tables(tables, order, Roots(kFixedWave.values, kFixedOrder, order));
    } else {
      auto* const wave = static_cast<double*>(align_up(temporary));
      build_quarter_wave(wave, order);
      build_tables(tables, order, Roots(wave, order, order));
    }
    return spec;
  }
};
using Members = Exports<Integer16s32s>;

// 2^-scaleFactor; beyond the range in which a result can differ from 0 or from the bounds, its end.
double output_scale(int scale_factor) { return power_of_two_64(-std::clamp(scale_factor, -1000, 1000)); }

// The last vector overlaps the one before: there are at least as many bins as lanes.
void store_rounded(const double* bins, Kiv32s* dst, std::ptrdiff_t count, double factor) {
  using V = simd::Vec<double>;
  const V scale = V::broadcast(factor);
  const V limit = V::broadcast(2147483647.0);  // what is too low converts to the lowest integer by itself
  const auto step = [&](std::ptrdiff_t i) {
    simd::store_rounded(dst + i, min(simd::load<double>(bins + i) * scale, limit));
  };
  for (std::ptrdiff_t i = 0; i + V::width <= count; i += V::width) step(i);
  step(count - V::width);
}

void forward(const Kiv16s* src, Kiv32s* dst, const KivsFFTSpec_R_16s32s& spec, void* work, int scale_factor) {
  const NearestRounding nearest;
  const std::ptrdiff_t size = std::ptrdiff_t{1} << spec.order;
  // An exact transform scaled once: the powers of two commute with rounding to nearest.
  const double factor = spec.factor * output_scale(scale_factor);
  if (spec.order < kFirstTableOrder) {
    double samples[8], bins[10] = {};
    Kiv32s rounded[10];
    std::copy_n(src, size, samples);
    small_forward<Spectrum::kCcs>(samples, bins, spec.order, 1.0);
    store_rounded(bins, rounded, 10, factor);
    std::copy_n(rounded, size == 1 ? 2 : size + 2, dst);
    return;
  }
  auto* const bins = static_cast<double*>(align_up(work));
  double* const area = bins + round_up(static_cast<std::size_t>(size) + 2, 4);
  const Tables<double> tables{spec.complex_tables, spec.real_tables, 0.5};
  with_lanes<double>(spec.order,
                     [&]<class V>(V*) { forward_passes<V, Spectrum::kCcs>(src, bins, spec.order, tables, area); });
  store_rounded(bins, dst, size + 2, factor);
}

}  // namespace
}  // namespace kivsr::fft

extern "C" {
using namespace kivsr;
using namespace kivsr::fft;

KivStatus kivsFFTGetSize_R_16s32s(int order, int flag, int, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
  return Members::get_size(order, flag, pSpecSize, pSpecBufferSize, pBufferSize);
}
KivStatus kivsFFTInit_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec,
                               Kiv8u* pMemInit) {
  return Members::init(ppSpec, order, flag, hint, pMemSpec, pMemInit);
}
KivStatus kivsFFTInitAlloc_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint) {
  return Members::init_alloc(ppSpec, order, flag, hint);
}
KivStatus kivsFFTFree_R_16s32s(KivsFFTSpec_R_16s32s* pSpec) { return Members::free(pSpec); }
KivStatus kivsFFTFwd_RToCCS_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFFTSpec_R_16s32s* pSpec,
                                       Kiv8u* pBuffer, int scaleFactor) {
  return Members::transform(pSrc, pDst, pSpec, pBuffer,
                            [&](void* work) { forward(pSrc, pDst, *pSpec, work, scaleFactor); });
}
}
