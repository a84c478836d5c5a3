// Real FFT in single precision: the object, its transforms and the exports. Other families: fft.h.
#include "fft.h"

#include <algorithm>
#include <cstring>

#include "fft_object.h"
#include "kivsr/vector/fft.h"

// Placed at a 32-byte boundary, the tables behind it.
struct KivsFFTSpec_R_32f {
  static constexpr Kiv32s kIdentifier = 6;
  Kiv32s identifier;
  Kiv32s order;
  Kiv32s forward_scaled;
  Kiv32s inverse_scaled;
  Kiv32f factor;
  Kiv32s hint;
  Kiv32s work_bytes;  // 0: a transform needs no work buffer
  Kiv32s reserved;    // 0
  float* complex_tables;
  float* real_tables;
  void* unused[12 * 4 / sizeof(void*) - 2];
};
static_assert(sizeof(KivsFFTSpec_R_32f) == 20 * 4 && offsetof(KivsFFTSpec_R_32f, complex_tables) == 8 * 4);

namespace kivsr::fft {
namespace {

// Sizes of this type count a whole boundary as slack.
constexpr std::size_t kSlack = kPartAlignment;

// The table of the real pass fills seven eighths of its share.
ObjectParts<KivsFFTSpec_R_32f, float> object_parts(int order) { return {order, std::size_t{1} << order}; }

Layout work_layout(int order) {
  Layout layout;
  if (order >= kFirstTableOrder) layout.add<float>(static_cast<std::size_t>(work_count<float>(order)));
  return layout;
}

float* area_in(void* work) { return static_cast<float*>(align_up(work)); }

float forward_scale(const KivsFFTSpec_R_32f& spec) { return spec.forward_scaled != 0 ? spec.factor : 1.0F; }
float inverse_scale(const KivsFFTSpec_R_32f& spec) { return spec.inverse_scaled != 0 ? spec.factor : 1.0F; }

Tables<float> tables_of(const KivsFFTSpec_R_32f& spec) {
  return {spec.complex_tables, spec.real_tables, 0.5F * forward_scale(spec)};
}

}  // namespace

template <>
Sizes sizes<KivsFFTSpec_R_32f>(int order) {
  if (order < kFirstTableOrder) return {sizeof(KivsFFTSpec_R_32f) + kSlack, 0, 0};
  return {bytes_with_slack(object_parts(order).layout, kSlack),
          order >= kTemporaryOrder ? (std::size_t{1} << order) + 64 : 0, bytes_with_slack(work_layout(order), kSlack)};
}

template <>
KivsFFTSpec_R_32f* construct(void* object, void* construction, int order, int flag, int hint) {
  const NearestRounding nearest;  // tables are the same whatever the caller's rounding mode
  const auto parts = object_parts(order);
  void* const block = align_up(object);
  KivsFFTSpec_R_32f* const spec = parts.spec.in(block);
  std::memset(spec, 0, sizeof *spec);
  spec->identifier = KivsFFTSpec_R_32f::kIdentifier;
  spec->order = order;
  spec->forward_scaled = scales_forward(flag) ? 1 : 0;
  spec->inverse_scaled = scales_inverse(flag) ? 1 : 0;
  spec->factor = scale_factor<float>(order, flag);
  spec->hint = hint;
  if (order < kFirstTableOrder) return spec;
  constexpr std::size_t kLargest = std::numeric_limits<Kiv32s>::max();
  spec->work_bytes = static_cast<Kiv32s>(std::min(work_layout(order).bytes(), kLargest));
  spec->complex_tables = parts.middle.in(block);
  spec->real_tables = parts.last.in(block);
  build_tables(tables_of(*spec), order, construction);
  return spec;
}

void forward(const Kiv32f* src, Kiv32f* dst, const KivsFFTSpec_R_32f& spec, void* work, Spectrum spectrum) {
  with_spectrum(spectrum, [&]<Spectrum kSpectrum>() {
    const float scale = forward_scale(spec);
    if (spec.order < kFirstTableOrder) return small_forward<kSpectrum>(src, dst, spec.order, scale);
    if constexpr (in_registers<float>(kRegisterOrder)) {
      if (spec.order == kRegisterOrder) {
        return forward_in_registers<simd::ComplexVec<float>, kSpectrum>(src, dst, spec.complex_tables, spec.real_tables,
                                                                        0.5F * scale);
      }
    }
    with_lanes<float>(spec.order, [&]<class V>(V*) {
      forward_passes<V, kSpectrum>(src, dst, spec.order, tables_of(spec), area_in(work));
    });
  });
}

void inverse(const Kiv32f* src, Kiv32f* dst, const KivsFFTSpec_R_32f& spec, void* work) {
  const float scale = inverse_scale(spec);
  if (spec.order < kFirstTableOrder) return small_inverse(src, dst, spec.order, scale);
  if constexpr (in_registers<float>(kRegisterOrder)) {
    if (spec.order == kRegisterOrder) {
      return inverse_in_registers<simd::ComplexVec<float>>(src, dst, spec.complex_tables, spec.real_tables,
                                                           0.5F * forward_scale(spec), scale);
    }
  }
  with_lanes<float>(
      spec.order, [&]<class V>(V*) { inverse_passes<V>(src, dst, spec.order, tables_of(spec), area_in(work), scale); });
}

namespace {

// a times the conjugate of b, in pairs. Elementwise: no fused operations.
template <class V>
Complex<V> times_conjugate(Complex<V> a, Complex<V> b) {
  return {a.re * b.re + a.im * b.im, a.im * b.re - a.re * b.im};
}

}  // namespace

[[gnu::flatten]] void multiply_pack_conjugate(const Kiv32f* src, Kiv32f* src_dst, std::ptrdiff_t len) {
  using V = simd::ComplexVec<float>;
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

namespace {

using Spec = KivsFFTSpec_R_32f;

KivStatus buffer_size(const Spec* spec, int* size) {
  const KivStatus checks = first_failure(not_null(spec, size), identified(spec));
  if (checks != kivStatusOk) return checks;
  const Sizes bytes = sizes<Spec>(spec->order);
  return run(sizes_fit_int({0, 0, bytes.work}), [&] { *size = static_cast<int>(bytes.work); });
}

KivStatus checked_forward(const float* src, float* dst, const Spec* spec, Kiv8u* buffer, Spectrum spectrum) {
  return transform(src, dst, spec, buffer, [&](void* work) { forward(src, dst, *spec, work, spectrum); });
}

KivStatus checked_inverse(const float* src, float* dst, const Spec* spec, Kiv8u* buffer) {
  return transform(src, dst, spec, buffer, [&](void* work) { inverse(src, dst, *spec, work); });
}

}  // namespace
}  // namespace kivsr::fft

extern "C" {
using namespace kivsr;
using namespace kivsr::fft;

KivStatus kivsFFTGetSize_R_32f(int order, int flag, int, int* pSpecSize, int* pSpecBufferSize, int* pBufferSize) {
  return get_size<Spec>(order, flag, pSpecSize, pSpecBufferSize, pBufferSize);
}
KivStatus kivsFFTInit_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Kiv8u* pMemSpec,
                            Kiv8u* pMemInit) {
  return init(ppSpec, order, flag, hint, pMemSpec, pMemInit);
}
KivStatus kivsFFTInitAlloc_R_32f(KivsFFTSpec_R_32f** ppSpec, int order, int flag, int hint) {
  return init_alloc(ppSpec, order, flag, hint);
}
KivStatus kivsFFTFree_R_32f(KivsFFTSpec_R_32f* pSpec) { return free_object(pSpec); }
KivStatus kivsFFTGetBufSize_R_32f(const KivsFFTSpec_R_32f* pSpec, int* pBufferSize) {
  return buffer_size(pSpec, pBufferSize);
}
KivStatus kivsFFTFwd_RToCCS_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return checked_forward(pSrc, pDst, pSpec, pBuffer, Spectrum::kCcs);
}
KivStatus kivsFFTFwd_RToPack_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return checked_forward(pSrc, pDst, pSpec, pBuffer, Spectrum::kPack);
}
KivStatus kivsFFTFwd_RToPerm_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return checked_forward(pSrc, pDst, pSpec, pBuffer, Spectrum::kPerm);
}
KivStatus kivsFFTInv_PackToR_32f(const Kiv32f* pSrc, Kiv32f* pDst, const KivsFFTSpec_R_32f* pSpec, Kiv8u* pBuffer) {
  return checked_inverse(pSrc, pDst, pSpec, pBuffer);
}
KivStatus kivsMulPackConj_32f_I(const Kiv32f* pSrc, Kiv32f* pSrcDst, int len) {
  return run(first_failure(not_null(pSrc, pSrcDst), positive(len)),
             [&] { multiply_pack_conjugate(pSrc, pSrcDst, len); });
}
}
