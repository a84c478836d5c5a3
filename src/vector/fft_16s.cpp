// Real FFT of 16-bit samples to a 32-bit integer spectrum. The transform runs in double precision: 53 bits hold any
// exact result of 46 bits (order 30) closely enough to round to the nearest integer.
#include <algorithm>
#include <cstring>

#include "fft_object.h"
#include "kivsr/vector/fft.h"

// Placed at a 32-byte boundary, the tables behind it.
struct KivsFFTSpec_R_16s32s {
  static constexpr Kiv32s kIdentifier = 0x434D414F;
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

using Spec = KivsFFTSpec_R_16s32s;

ObjectParts<Spec, double> object_parts(int order) { return {order, last_table_count(order)}; }

// Of a transform: its spectrum before rounding, and the area of its passes.
struct WorkParts {
  Layout layout;
  Part<double> bins;
  Part<double> area;

  explicit WorkParts(int order)
      : bins(layout.add<double>((std::size_t{1} << order) + 2)),
        area(layout.add<double>(static_cast<std::size_t>(work_count<double>(order)))) {}
};

std::size_t construction_bytes(int order) {
  if (order < kTemporaryOrder) return 0;
  Layout layout;
  layout.add<double>(quarter_wave_count(order));
  return bytes_with_slack(layout, kAlignmentSlack);
}

Tables<double> tables_of(const Spec& spec) { return {spec.complex_tables, spec.real_tables, 0.5}; }

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

}  // namespace

template <>
Sizes sizes<Spec>(int order) {
  const std::size_t object = bytes_with_slack(object_parts(order).layout, kAlignmentSlack);
  if (order < kFirstTableOrder) return {object, 0, 0};
  return {object, construction_bytes(order), bytes_with_slack(WorkParts(order).layout, kAlignmentSlack)};
}

template <>
Spec* construct(void* object, void* construction, int order, int flag, int hint) {
  const NearestRounding nearest;  // tables are the same whatever the caller's rounding mode
  const auto parts = object_parts(order);
  void* const block = align_up(object);
  Spec* const spec = parts.spec.in(block);
  std::memset(spec, 0, sizeof *spec);
  spec->identifier = Spec::kIdentifier;
  spec->order = order;
  spec->hint = hint;
  spec->factor = scales_forward(flag) ? scale_factor<double>(order, flag) : 1.0;
  if (order < kFirstTableOrder) return spec;
  spec->complex_tables = parts.middle.in(block);
  spec->real_tables = parts.last.in(block);
  build_tables(tables_of(*spec), order, construction);
  return spec;
}

void forward(const Kiv16s* src, Kiv32s* dst, const Spec& spec, void* work, int scale_factor) {
  const NearestRounding nearest;
  const std::ptrdiff_t size = std::ptrdiff_t{1} << spec.order;
  // An exact transform scaled once: the powers of two commute with rounding to nearest.
  const double factor = spec.factor * double_scale(scale_factor);
  if (spec.order < kFirstTableOrder) {
    double samples[8], bins[10] = {};
    Kiv32s rounded[10];
    std::copy_n(src, size, samples);
    small_forward<Spectrum::kCcs>(samples, bins, spec.order, 1.0);
    store_rounded(bins, rounded, 10, factor);
    std::copy_n(rounded, size == 1 ? 2 : size + 2, dst);
    return;
  }
  const WorkParts parts(spec.order);
  void* const block = align_up(work);
  double* const bins = parts.bins.in(block);
  double* const area = parts.area.in(block);
  with_lanes<double>(spec.order, [&]<class V>(V*) {
    forward_passes<V, Spectrum::kCcs>(src, bins, spec.order, tables_of(spec), area);
  });
  store_rounded(bins, dst, size + 2, factor);
}

}  // namespace kivsr::fft

extern "C" {
using namespace kivsr;
using namespace kivsr::fft;

KivStatus kivsFFTGetSize_R_16s32s(int order, int flag, int, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
  return get_size<Spec>(order, flag, pSpecSize, pSpecBufferSize, pBufferSize);
}
KivStatus kivsFFTInit_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec,
                               Kiv8u* pMemInit) {
  return init(ppSpec, order, flag, hint, pMemSpec, pMemInit);
}
KivStatus kivsFFTInitAlloc_R_16s32s(KivsFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint) {
  return init_alloc(ppSpec, order, flag, hint);
}
KivStatus kivsFFTFree_R_16s32s(KivsFFTSpec_R_16s32s* pSpec) { return free_object(pSpec); }
KivStatus kivsFFTFwd_RToCCS_16s32s_Sfs(const Kiv16s* pSrc, Kiv32s* pDst, const KivsFFTSpec_R_16s32s* pSpec,
                                       Kiv8u* pBuffer, int scaleFactor) {
  return transform(pSrc, pDst, pSpec, pBuffer, [&](void* work) { forward(pSrc, pDst, *pSpec, work, scaleFactor); });
}
}
