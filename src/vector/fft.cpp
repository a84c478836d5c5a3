// Real FFT in single precision: the object, its transforms and the exports. Other families: fft.h.
#include "fft.h"

#include <cstring>

#include "fft_transform.h"
#include "frame/layout.h"
#include "kivsr/vector/fft.h"

namespace kivsr::fft {
namespace {

constexpr std::size_t kHeaderBytes = round_up(sizeof(KivsFFTSpec_R_32f), 32);

float* area_in(void* work) { return static_cast<float*>(align_up(work)); }

float forward_scale(const KivsFFTSpec_R_32f& spec) { return spec.forward_scaled != 0 ? spec.factor : 1.0F; }
float inverse_scale(const KivsFFTSpec_R_32f& spec) { return spec.inverse_scaled != 0 ? spec.factor : 1.0F; }

Tables<float> tables_of(const KivsFFTSpec_R_32f& spec) {
  return {spec.complex_tables, spec.real_tables, 0.5F * forward_scale(spec)};
}

}  // namespace

Sizes sizes_32f(int order) {
  if (order < kFirstTableOrder) return {sizeof(KivsFFTSpec_R_32f) + 32, 0, 0};
  const std::uint64_t n = std::uint64_t{1} << order;
  // The real pass fills up to 7/8 of its share.
  return {sizeof(float) * middle_table_count<float>(order) + 64 * (n / 16) + 128, order >= kTemporaryOrder ? n + 64 : 0,
          sizeof(float) * work_count<float>(order) + 32};
}

KivsFFTSpec_R_32f* place_32f(void* memory, void* temporary, int order, int flag, int hint) {
  auto* const spec = static_cast<KivsFFTSpec_R_32f*>(align_up(memory));
  std::memset(spec, 0, sizeof *spec);
  spec->identifier = kIdentifier_32f;
  spec->order = order;
  spec->forward_scaled = scales_forward(flag) ? 1 : 0;
  spec->inverse_scaled = scales_inverse(flag) ? 1 : 0;
  spec->factor = scale_factor<float>(order, flag);
  spec->hint = hint;
  if (order < kFirstTableOrder) return spec;
  constexpr std::uint64_t kLargest = std::numeric_limits<Kiv32s>::max();
  spec->work_bytes = static_cast<Kiv32s>(std::min(sizes_32f(order).work - 32, kLargest));
  spec->complex_tables = reinterpret_cast<float*>(reinterpret_cast<char*>(spec) + kHeaderBytes);
  spec->real_tables = spec->complex_tables + middle_table_count<float>(order);
  if (order <= kFixedOrder) {
    build_tables(tables_of(*spec), order, Roots(kFixedWave.values, kFixedOrder, order));
  } else {
    float* const wave = area_in(temporary);
    build_quarter_wave(wave, order);
    build_tables(tables_of(*spec), order, Roots(wave, order, order));
  }
  return spec;
}

void forward_32f(const float* src, float* dst, const KivsFFTSpec_R_32f& spec, void* work, Spectrum spectrum) {
  with_spectrum(spectrum, [&]<Spectrum kSpectrum>() {
    if (spec.order < kFirstTableOrder) return small_forward<kSpectrum>(src, dst, spec.order, forward_scale(spec));
    with_lanes<float>(spec.order, [&]<class V>(V*) {
      forward_passes<V, kSpectrum>(src, dst, spec.order, tables_of(spec), area_in(work));
    });
  });
}

void inverse_32f(const float* src, float* dst, const KivsFFTSpec_R_32f& spec, void* work) {
  const float scale = inverse_scale(spec);
  if (spec.order < kFirstTableOrder) return small_inverse(src, dst, spec.order, scale);
  with_lanes<float>(
      spec.order, [&]<class V>(V*) { inverse_passes<V>(src, dst, spec.order, tables_of(spec), area_in(work), scale); });
}

namespace {

struct Single32f {
  using Spec = KivsFFTSpec_R_32f;
  static constexpr Kiv32s kIdentifier = kIdentifier_32f;
  static Sizes sizes(int order) { return sizes_32f(order); }
  static Spec* place(void* memory, void* temporary, int order, int flag, int hint) {
    return place_32f(memory, temporary, order, flag, hint);
  }
};
using Members = Exports<Single32f>;

KivStatus buffer_size(const KivsFFTSpec_R_32f* spec, int* size) {
  const KivStatus status = first_failure(not_null(spec, size), identified(spec, kIdentifier_32f));
  if (status != kivStatusOk) return status;
  const std::uint64_t bytes = sizes_32f(spec->order).work;
  return run(require(bytes <= static_cast<std::uint64_t>(std::numeric_limits<int>::max()), kivStatusBadSize),
             [&] { *size = static_cast<int>(bytes); });
}

KivStatus forward(const float* src, float* dst, const KivsFFTSpec_R_32f* spec, Kiv8u* buffer, Spectrum spectrum) {
  return Members::transform(src, dst, spec, buffer, [&](void* work) { forward_32f(src, dst, *spec, work, spectrum); });
}

KivStatus inverse(const float* src, float* dst, const KivsFFTSpec_R_32f* spec, Kiv8u* buffer) {
  return Members::transform(src, dst, spec, buffer, [&](void* work) { inverse_32f(src, dst, *spec, work); });
}

// a times the conjugate of b, in pairs. Elementwise: no fused operations.
template <class V>
Complex<V> times_conjugate(Complex<V> a, Complex<V> b) {
  return {a.re * b.re + a.im * b.im, a.im * b.re - a.re * b.im};
}

[[gnu::flatten]] void multiply_pack_conjugate(const float* src, float* src_dst, int len) {
  using V = simd::Vec<float>;
  using One = simd::Single<float>;
  src_dst[0] = src[0] * src_dst[0];
  const std::ptrdiff_t end = len % 2 == 0 ? len - 1 : len;
  std::ptrdiff_t i = 1;
  for (; i + 2 * V::width <= end; i += 2 * V::width) {
    store_pairs(src_dst + i, times_conjugate(load_pairs<V>(src + i), load_pairs<V>(src_dst + i)));
  }
  for (; i < end; i += 2) {
    store_pairs(src_dst + i, times_conjugate(load_pairs<One>(src + i), load_pairs<One>(src_dst + i)));
  }
  if (len % 2 == 0) src_dst[end] = src[end] * src_dst[end];
}

}  // namespace
}  // namespace kivsr::fft

extern "C" {
using namespace kivsr;
using namespace kivsr::fft;

KivStatus kivsFFTGetSize_R_32f(int order, int flag, int, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
  return Members::get_size(order, flag, pSpecSize, pSpecBufferSize, pBufferSize);
}
KivStatus kivsFFTInit_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec,
                            Kiv8u* pMemInit) {
  return Members::init(ppSpec, order, flag, hint, pMemSpec, pMemInit);
}
KivStatus kivsFFTInitAlloc_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint) {
  return Members::init_alloc(ppSpec, order, flag, hint);
}
KivStatus kivsFFTFree_R_32f(KivsFFTSpec_R_32f* pSpec) { return Members::free(pSpec); }
KivStatus kivsFFTGetBufSize_R_32f(const KivsFFTSpec_R_32f* pSpec, int* pBufferSize) {
  return buffer_size(pSpec, pBufferSize);
}
KivStatus kivsFFTFwd_RToCCS_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return forward(pSrc, pDst, pSpec, pBuffer, Spectrum::kCcs);
}
KivStatus kivsFFTFwd_RToPack_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return forward(pSrc, pDst, pSpec, pBuffer, Spectrum::kPack);
}
KivStatus kivsFFTFwd_RToPerm_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return forward(pSrc, pDst, pSpec, pBuffer, Spectrum::kPerm);
}
KivStatus kivsFFTInv_PackToR_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return inverse(pSrc, pDst, pSpec, pBuffer);
}
KivStatus kivsMulPackConj_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) {
  return run(first_failure(not_null(pSrc, pSrcDst), positive(len)),
             [&] { multiply_pack_conjugate(pSrc, pSrcDst, len); });
}
}
